#include "standalone/orvubase/core/process_path.h"

#include <unistd.h>

#include <climits>
#include <string>
#include <string_view>

#include "standalone/orvubase/core/path_map.h"

namespace orvu {

std::optional<WString> process_path(uint64_t pid) {
    const std::string link = "/proc/" + std::to_string(pid) + "/exe";
    char buffer[PATH_MAX + 1];
    const ssize_t length = readlink(link.c_str(), buffer, sizeof buffer);
    if (length <= 0 || static_cast<size_t>(length) == sizeof buffer || buffer[0] != '/') {
        return std::nullopt;
    }
    // The kernel marks the name of a program whose file was replaced or removed while it runs.
    std::string name(buffer, static_cast<size_t>(length));
    constexpr std::string_view kDeleted = " (deleted)";
    if (name.ends_with(kDeleted) && access(name.c_str(), F_OK) != 0) {
        name.resize(name.size() - kDeleted.size());
    }
    return utf8_to_wide(path_from_native(name));
}

}  // namespace orvu
