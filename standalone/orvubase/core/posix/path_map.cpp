#include "standalone/orvubase/core/path_map.h"

#include <dirent.h>
#include <locale.h>
#include <sys/stat.h>
#include <wctype.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "standalone/orvubase/core/utf.h"

namespace orvu {

namespace {

constexpr char ROOT_DRIVE = 'Z';
constexpr int FOLDER_LIMIT = 256;
constexpr size_t PATH_LIMIT = 32767;

bool is_ascii_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

char ascii_lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

bool exists(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0;
}

// Lower case beyond ASCII does not depend on the locale that the program happens to run in.
char32_t lower(char32_t character) {
    static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (unicode == nullptr) {
        return character;
    }
    return static_cast<char32_t>(towlower_l(static_cast<wint_t>(character), unicode));
}

// Bytes that are not UTF-8 are equal only to themselves.
bool equal_but_for_case(std::string_view a, std::string_view b) {
    size_t at_a = 0;
    size_t at_b = 0;
    while (at_a < a.size() && at_b < b.size()) {
        const size_t start_a = at_a;
        const size_t start_b = at_b;
        const std::optional<char32_t> from_a = utf8_next(a, at_a);
        const std::optional<char32_t> from_b = utf8_next(b, at_b);
        if (from_a && from_b) {
            if (*from_a != *from_b && lower(*from_a) != lower(*from_b)) {
                return false;
            }
        } else if (from_a || from_b || a[start_a] != b[start_b]) {
            return false;
        }
    }
    return at_a == a.size() && at_b == b.size();
}

struct CloseFolder {
    void operator()(DIR* folder) const { closedir(folder); }
};

// The search for one path. `best` is the deepest existing folder that was reached, with what
// follows it as spelled.
class CaselessSearch {
  public:
    explicit CaselessSearch(const std::string& path) {
        size_t start = 0;
        if (path.front() == '/') {
            base_.push_back('/');
        }
        while (start < path.size()) {
            const size_t end = std::min(path.find('/', start), path.size());
            if (end > start) {
                components_.push_back(path.substr(start, end - start));
            }
            start = end + 1;
        }
    }

    std::optional<std::string> run() { return descend(base_, 0); }

    std::string best() const {
        std::string path = best_path_;
        for (size_t i = best_depth_; i < components_.size(); ++i) {
            path = join(path, components_[i]);
        }
        return path;
    }

  private:
    static std::string join(const std::string& folder, const std::string& name) {
        if (folder.empty() || folder.back() == '/') {
            return folder + name;
        }
        return folder + "/" + name;
    }

    // Recursion ends with the path's components, and each level below the first branch has read a
    // folder, so its depth and its cost are bounded by both.
    // NOLINTNEXTLINE(misc-no-recursion)
    std::optional<std::string> descend(const std::string& folder, size_t depth) {
        if (depth > best_depth_ || depth == 0) {
            best_depth_ = depth;
            best_path_ = folder;
        }
        if (depth == components_.size()) {
            return folder;
        }
        const std::string exact = join(folder, components_[depth]);
        if (exists(exact)) {
            if (std::optional<std::string> found = descend(exact, depth + 1)) {
                return found;
            }
        }
        for (const std::string& name : others(folder, components_[depth])) {
            const std::string path = join(folder, name);
            if (exists(path)) {
                if (std::optional<std::string> found = descend(path, depth + 1)) {
                    return found;
                }
            }
        }
        return std::nullopt;
    }

    std::vector<std::string> others(const std::string& folder, const std::string& component) {
        std::vector<std::string> names;
        if (folders_read_ >= FOLDER_LIMIT || component == "." || component == "..") {
            return names;
        }
        ++folders_read_;
        const std::unique_ptr<DIR, CloseFolder> handle(
            opendir(folder.empty() ? "." : folder.c_str()));
        if (!handle) {
            return names;
        }
        while (const dirent* entry = readdir(handle.get())) {
            const std::string_view name = entry->d_name;
            if (name != component && equal_but_for_case(name, component)) {
                names.emplace_back(name);
            }
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    std::string base_;
    std::vector<std::string> components_;
    std::string best_path_;
    size_t best_depth_ = 0;
    int folders_read_ = 0;
};

}  // namespace

std::optional<std::string> path_to_native(std::string_view framework) {
    if (framework.empty() || framework.size() > PATH_LIMIT ||
        framework.find('\0') != std::string_view::npos) {
        return std::nullopt;
    }
    std::string native;
    if (framework.size() >= 2 && framework[1] == ':' && is_ascii_letter(framework[0])) {
        if (ascii_lower(framework[0]) != ascii_lower(ROOT_DRIVE)) {
            return std::nullopt;
        }
        framework.remove_prefix(2);
        if (framework.empty() || (framework[0] != '\\' && framework[0] != '/')) {
            native = "/";
        }
    }
    native += framework;
    std::replace(native.begin(), native.end(), '\\', '/');
    return native;
}

std::string path_from_native(std::string_view native) {
    std::string framework;
    if (!native.empty() && native[0] == '/') {
        framework = {ROOT_DRIVE, ':'};
    }
    framework += native;
    std::replace(framework.begin(), framework.end(), '/', '\\');
    return framework;
}

std::optional<std::string> path_find(std::string_view framework) {
    std::optional<std::string> native = path_to_native(framework);
    if (!native || exists(*native)) {
        return native;
    }
    return CaselessSearch(*native).run();
}

std::optional<std::string> path_resolve(std::string_view framework) {
    std::optional<std::string> native = path_to_native(framework);
    if (!native || exists(*native)) {
        return native;
    }
    CaselessSearch search(*native);
    std::optional<std::string> found = search.run();
    return found ? found : search.best();
}

}  // namespace orvu
