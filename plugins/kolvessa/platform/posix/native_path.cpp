#include "plugins/kolvessa/platform/posix/native_path.h"

#include <dirent.h>
#include <locale.h>
#include <sys/stat.h>
#include <wctype.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace kolvessa::platform {

namespace {

constexpr size_t PATH_LIMIT = 32767;
constexpr int FOLDER_LIMIT = 256;

void append_utf8(std::string& text, uint32_t character) {
    const auto tail = [&](int shift) {
        text += static_cast<char>(0x80 | ((character >> shift) & 0x3F));
    };
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += static_cast<char>(0xC0 | (character >> 6));
        tail(0);
    } else if (character < 0x10000) {
        text += static_cast<char>(0xE0 | (character >> 12));
        tail(6);
        tail(0);
    } else {
        text += static_cast<char>(0xF0 | (character >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}

bool is_letter(orvu_wchar c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// Lower-case UTF-8 in UTF-32, so that two names can be compared; a byte that is no UTF-8 stands for
// itself, above all characters. The program's locale has no say.
std::u32string folded(std::string_view name) {
    static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    std::u32string out;
    for (size_t i = 0; i < name.size();) {
        const auto lead = static_cast<uint8_t>(name[i]);
        const size_t length = lead < 0x80 ? 1 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
        uint32_t character = length == 1 ? lead : lead & (0xFFU >> (length + 1));
        bool valid = length == 1 || (lead >= 0xC2 && lead < 0xF5 && i + length <= name.size());
        for (size_t k = 1; valid && k < length; ++k) {
            const auto next = static_cast<uint8_t>(name[i + k]);
            valid = (next & 0xC0) == 0x80;
            character = character << 6 | (next & 0x3F);
        }
        if (!valid) {
            out += static_cast<char32_t>(0x110000 + lead);
            ++i;
            continue;
        }
        i += length;
        out +=
            unicode == nullptr ? character : static_cast<char32_t>(towlower_l(character, unicode));
    }
    return out;
}

struct close_folder {
    void operator()(DIR* folder) const { closedir(folder); }
};

bool exists(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0;
}

class CaselessSearch {
  public:
    // Each level below the first reads a folder or meets an existing one; the components end it.
    // NOLINTNEXTLINE(misc-no-recursion)
    std::string descend(const std::string& base, std::string_view rest) {
        const size_t start = std::min(rest.find_first_not_of('/'), rest.size());
        rest.remove_prefix(start);
        if (rest.empty()) {
            return base;
        }
        const std::string_view component = rest.substr(0, rest.find('/'));
        rest.remove_prefix(component.size());
        std::string exact = base + std::string(component);
        if (exists(exact)) {
            std::string found = descend(rest.empty() ? exact : exact + "/", rest);
            if (!found.empty()) {
                return found;
            }
        }
        for (const std::string& name : others(base, component)) {
            const std::string path = base + name;
            if (exists(path)) {
                std::string found = descend(rest.empty() ? path : path + "/", rest);
                if (!found.empty()) {
                    return found;
                }
            }
        }
        return {};
    }

  private:
    std::vector<std::string> others(const std::string& folder, std::string_view component) {
        std::vector<std::string> names;
        if (component == "." || component == ".." || folders_read_ == FOLDER_LIMIT) {
            return names;
        }
        ++folders_read_;
        const std::unique_ptr<DIR, close_folder> handle(
            opendir(folder.empty() ? "." : folder.c_str()));
        if (!handle) {
            return names;
        }
        const std::u32string wanted = folded(component);
        while (const dirent* entry = readdir(handle.get())) {
            const std::string_view name = entry->d_name;
            if (name != component && folded(name) == wanted) {
                names.emplace_back(name);
            }
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    int folders_read_ = 0;
};

}  // namespace

std::string native_path(const orvu_wchar* framework) {
    std::string native;
    if (framework == nullptr) {
        return native;
    }
    if (is_letter(framework[0]) && framework[1] == ':') {
        if (framework[0] != 'Z' && framework[0] != 'z') {
            return native;
        }
        framework += 2;
        if (*framework != '\\' && *framework != '/') {
            native = "/";
        }
    }
    for (size_t i = 0; framework[i] != 0; ++i) {
        uint32_t character = framework[i];
        if (i >= PATH_LIMIT || (character >= 0xDC00 && character < 0xE000)) {
            return {};
        }
        if (character >= 0xD800 && character < 0xDC00) {
            const uint32_t low = framework[i + 1];
            if (low < 0xDC00 || low >= 0xE000) {
                return {};
            }
            character = 0x10000 + ((character - 0xD800) << 10) + (low - 0xDC00);
            ++i;
        }
        append_utf8(native, character == '\\' ? '/' : character);
    }
    return native;
}

std::string find_without_case(const std::string& native) {
    if (native.empty()) {
        return {};
    }
    const bool rooted = native.front() == '/';
    return CaselessSearch().descend(rooted ? "/" : "", native);
}

}  // namespace kolvessa::platform
