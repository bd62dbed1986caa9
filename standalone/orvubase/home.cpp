#include "standalone/orvubase/home.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <forward_list>
#include <mutex>
#include <string_view>
#include <system_error>
#include <utility>

#include "standalone/orvubase/core/path_map.h"
#include "standalone/orvubase/core/utf.h"
#include "standalone/orvubase/orvubase_host.h"
#include "standalone/orvubase/system.h"

namespace orvu {

namespace {

constexpr int32_t PRIVATE_MODE = 0700;

enum HomeResult : int32_t {
    HOME_SET = 0,
    HOME_INVALID = 1,
    HOME_TOO_LONG = 2,
    HOME_NOT_MADE = 3,
    HOME_BACKSLASH = 4,
};

// Homes are never removed, because their texts were handed out; a process has one or two.
struct Homes {
    std::mutex mutex;
    std::forward_list<Home> all;
    std::atomic<const Home*> current{nullptr};
};

Homes& homes() {
    // Never destroyed: threads of a plug-in outlive the static objects.
    static Homes& instance = *new Homes;
    return instance;
}

std::string make_absolute(const std::string& native) {
    namespace fs = std::filesystem;
    const fs::path path = fs::absolute(fs::path(std::u8string(native.begin(), native.end())));
    const std::u8string text = path.lexically_normal().make_preferred().u8string();
    std::string result(text.begin(), text.end());
    const auto separator = static_cast<char>(fs::path::preferred_separator);
    while (result.size() > 1 && result.back() == separator && result[result.size() - 2] != ':') {
        result.pop_back();
    }
    return result;
}

std::string below(const std::string& folder, std::string_view name) {
    const auto separator = static_cast<char>(std::filesystem::path::preferred_separator);
    std::string path = folder;
    if (path.back() != separator) {
        path.push_back(separator);
    }
    return path.append(name);
}

bool make_layout(const Home& home) {
    bool made = make_folders(home.native, PRIVATE_MODE);
    for (const char* name : {"bin", "var", "log"}) {
        made = make_folders(below(home.native, name), PRIVATE_MODE) && made;
    }
    return made;
}

Home describe(std::string native) {
    Home home;
    home.framework = path_from_native(native);
    home.native = std::move(native);
    if (home.framework.ends_with('\\')) {
        home.framework.pop_back();
    }
    return home;
}

const Home& publish(Homes& all, Home home) {
    const Home& kept = all.all.emplace_front(std::move(home));
    all.current.store(&kept, std::memory_order_release);
    return kept;
}

bool is_separator(char c) {
    return c == '\\' || c == '/';
}

// Appends `rest`, component by component, to the framework path `path`.
void append_resolved(std::string& path, std::string_view rest) {
    while (!rest.empty()) {
        size_t end = 0;
        while (end < rest.size() && !is_separator(rest[end])) {
            ++end;
        }
        const std::string_view component = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (component == "..") {
            const size_t cut = path.rfind('\\');
            path.resize(cut == std::string::npos ? path.size() : cut);
        } else if (!component.empty() && component != ".") {
            path.append("\\").append(component);
        }
    }
}

}  // namespace

bool make_folders(const std::string& native, int32_t mode) {
    if (system::is_folder(native)) {
        return true;
    }
    const auto separator = static_cast<char>(std::filesystem::path::preferred_separator);
    for (size_t at = native.find(separator, 1); at != std::string::npos;
         at = native.find(separator, at + 1)) {
        system::make_folder(native.substr(0, at), mode);
    }
    system::make_folder(native, mode);
    return system::is_folder(native);
}

const Home& home() {
    Homes& all = homes();
    if (const Home* current = all.current.load(std::memory_order_acquire)) {
        return *current;
    }
    const std::lock_guard<std::mutex> lock(all.mutex);
    if (const Home* current = all.current.load(std::memory_order_acquire)) {
        return *current;
    }
    Home chosen = describe(make_absolute(system::default_home()));
    (void)make_layout(chosen);
    return publish(all, std::move(chosen));
}

int32_t set_home(const char* native_utf8) {
    if (native_utf8 == nullptr || native_utf8[0] == '\0' || !utf8_is_valid(native_utf8)) {
        return HOME_INVALID;
    }
    Home chosen;
    try {
        chosen = describe(make_absolute(native_utf8));
    } catch (const std::system_error&) {
        return HOME_NOT_MADE;
    }
    if (std::filesystem::path::preferred_separator == '/' &&
        chosen.native.find('\\') != std::string::npos) {
        return HOME_BACKSLASH;
    }
    if (chosen.framework.size() > ORVU_HOME_LIMIT) {
        return HOME_TOO_LONG;
    }
    if (!make_layout(chosen)) {
        return HOME_NOT_MADE;
    }
    Homes& all = homes();
    const std::lock_guard<std::mutex> lock(all.mutex);
    publish(all, std::move(chosen));
    return HOME_SET;
}

std::string expand_path(const char* path) {
    const std::string_view text = path;
    if (text.empty() || text[0] != '@' || (text.size() > 1 && !is_separator(text[1]))) {
        return std::string(text);
    }
    std::string result = home().framework + "\\bin";
    append_resolved(result, text.substr(1));
    return result;
}

}  // namespace orvu
