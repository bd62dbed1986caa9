#include "standalone/orvu_core/process_path.h"

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <string>
#include <string_view>

namespace orvu {

bool process_path(uint64_t pid, wide_string* path) {
    const std::string link = "/proc/" + std::to_string(pid) + "/exe";
    char buffer[PATH_MAX + 1];
    const ssize_t length = readlink(link.c_str(), buffer, sizeof buffer);
    if (length <= 0 || static_cast<size_t>(length) == sizeof buffer || buffer[0] != '/') {
        return false;
    }
    // The kernel marks the name of a program whose file was replaced while it runs.
    std::string name(buffer, static_cast<size_t>(length));
    constexpr std::string_view kDeleted = " (deleted)";
    if (name.ends_with(kDeleted) && access(name.c_str(), F_OK) != 0) {
        name.resize(name.size() - kDeleted.size());
    }
    if (!utf8_to_wide("Z:" + name, path)) {
        return false;
    }
    std::replace(path->begin(), path->end(), u'/', u'\\');
    return true;
}

}  // namespace orvu
