// Where the program, its home and other processes are, and the few things the framework does with
// paths.

#include <chrono>
#include <cstring>
#include <optional>
#include <string>
#include <thread>

#include "orvubase.h"
#include "standalone/orvubase/core/path_map.h"
#include "standalone/orvubase/core/process_path.h"
#include "standalone/orvubase/core/utf.h"
#include "standalone/orvubase/home.h"
#include "standalone/orvubase/orvubase_host.h"
#include "standalone/orvubase/result.h"
#include "standalone/orvubase/system.h"

namespace {

std::string program_path() {
    return orvu::home().framework + "\\bin\\" + orvu::system::PROGRAM_NAME;
}

bool is_separator(char c) {
    return c == '\\' || c == '/';
}

// The length of the directory part: without the separators that end it, unless it is a root.
size_t directory_length(const char* path) {
    size_t length = std::strlen(path);
    while (length > 0 && !is_separator(path[length - 1])) {
        --length;
    }
    const size_t with_separator = length;
    while (length > 0 && is_separator(path[length - 1])) {
        --length;
    }
    const bool is_root = length == 0 || (length == 2 && path[1] == ':');
    return is_root && with_separator > length ? length + 1 : length;
}

}  // namespace

int32_t orvu_host_set_home(const char* native_path_utf8) {
    return orvu::guarded<int32_t>(3, [&] { return orvu::set_home(native_path_utf8); });
}

const char* orvu_host_home(void) {
    return orvu::guarded<const char*>("", [] { return orvu::home().native.c_str(); });
}

int32_t orvu_log_dir(char* buffer, uint32_t size) {
    orvu::clear_out(buffer, size);
    return orvu::guarded<int32_t>(0, [&] {
        const std::string folder = orvu::home().framework + "\\log";
        return orvu::copy_out(folder, buffer, size) == orvu::RESULT_OK ? 1 : 0;
    });
}

int32_t orvu_process_get_path(uint32_t pid, char* buffer, uint32_t size) {
    orvu::clear_out(buffer, size);
    return orvu::guarded<int32_t>(orvu::RESULT_MEMORY, [&]() -> int32_t {
        if (buffer == nullptr || size == 0) {
            return orvu::RESULT_ARGUMENT;
        }
        if (pid == orvu::system::own_pid()) {
            return orvu::copy_out(program_path(), buffer, size);
        }
        const std::optional<orvu::WString> wide = orvu::process_path(pid);
        const std::optional<std::string> path = wide ? orvu::wide_to_utf8(*wide) : std::nullopt;
        return path ? orvu::copy_out(*path, buffer, size) : orvu::RESULT_ABSENT;
    });
}

int32_t orvu_path_get_cur_proc_a(char* buffer, uint32_t size) {
    orvu::clear_out(buffer, size);
    return orvu::guarded<int32_t>(orvu::RESULT_MEMORY,
                                  [&] { return orvu::copy_out(program_path(), buffer, size); });
}

int32_t orvu_path_directory(const char* source, char* destination, uint32_t size) {
    if (source == nullptr || destination == nullptr || size == 0) {
        orvu::clear_out(destination, size);
        return orvu::RESULT_ARGUMENT;
    }
    const size_t length = directory_length(source);
    if (length >= size) {
        destination[0] = '\0';
        return orvu::RESULT_SPACE;
    }
    std::memmove(destination, source, length);
    destination[length] = '\0';
    return orvu::RESULT_OK;
}

int32_t orvu_path_is_exist_u(const char* path) {
    return orvu::guarded<int32_t>(
        0, [&] { return path != nullptr && orvu::path_find(orvu::expand_path(path)) ? 1 : 0; });
}

int32_t orvu_dirutils_path_transform(const char* path, char* buffer, uint32_t size) {
    return orvu::guarded<int32_t>(orvu::RESULT_MEMORY, [&]() -> int32_t {
        if (path == nullptr) {
            orvu::clear_out(buffer, size);
            return orvu::RESULT_ARGUMENT;
        }
        // Expanded before the buffer is touched: the two may be the same.
        return orvu::copy_out(orvu::expand_path(path), buffer, size);
    });
}

int32_t orvu_dirutils_mkdir(const char* path, int32_t mode) {
    return orvu::guarded<int32_t>(orvu::RESULT_MEMORY, [&]() -> int32_t {
        if (path == nullptr) {
            return orvu::RESULT_ARGUMENT;
        }
        const std::optional<std::string> native = orvu::path_resolve(orvu::expand_path(path));
        return native && orvu::make_folders(*native, mode) ? orvu::RESULT_OK : orvu::RESULT_ABSENT;
    });
}

void orvu_msleep(uint32_t milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}
