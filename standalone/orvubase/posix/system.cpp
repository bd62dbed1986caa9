#include "standalone/orvubase/system.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

namespace orvu::system {

const char* const PROGRAM_NAME = "orvu";

namespace {

// The environment's value if it is an absolute path; others are to be ignored.
std::optional<std::string> absolute_variable(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || value[0] != '/') {
        return std::nullopt;
    }
    return std::string(value);
}

std::string account_home() {
    std::vector<char> buffer(16384);
    passwd record{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &record, buffer.data(), buffer.size(), &found) == 0 &&
        found != nullptr && found->pw_dir != nullptr && found->pw_dir[0] == '/') {
        return found->pw_dir;
    }
    return "/nonexistent";
}

}  // namespace

void make_folder(const std::string& native, int32_t mode) {
    (void)mkdir(native.c_str(), static_cast<mode_t>(mode) & 07777U);
}

bool is_folder(const std::string& native) {
    struct stat status;
    return stat(native.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::string default_home() {
    if (const std::optional<std::string> state = absolute_variable("XDG_STATE_HOME")) {
        return *state + "/orvu";
    }
    const std::optional<std::string> home = absolute_variable("HOME");
    return (home ? *home : account_home()) + "/.local/state/orvu";
}

uint32_t own_pid() {
    return static_cast<uint32_t>(getpid());
}

void write_error(std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
        if (written > 0) {
            text.remove_prefix(static_cast<size_t>(written));
        } else if (errno != EINTR) {
            return;
        }
    }
}

// The library is linked so that the loader never removes it.
void stay_loaded() {}

}  // namespace orvu::system
