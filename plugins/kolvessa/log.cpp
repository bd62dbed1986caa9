#include "plugins/kolvessa/log.h"

#include <cstring>

namespace kolvessa::log {
namespace {

constexpr uint32_t path_capacity = ORVU_PATH_CAPACITY;
constexpr int32_t default_log_files = 5;

// Gives the process a log of its own: below the framework's log folder when there is one, else
// below the program's. Doing it twice at once is harmless, so nothing guards it.
void make_default_log() noexcept {
    char program[path_capacity] = {};
    orvu_process_get_path(platform::process_id(), program, path_capacity);
    const char* slash = std::strrchr(program, '\\');
    const char* name = slash != nullptr ? slash + 1 : program;

    char folder[path_capacity] = {};
    char log_path[path_capacity] = {};
    if (orvu_log_dir(folder, path_capacity) != 0) {
        orvu_str_snprintf(log_path, path_capacity, "%s/%s/%s/", folder,
                          "/Talvern/ORVU3_LOG/orvu_default_autolog/", name);
    } else {
        orvu_str_snprintf(log_path, path_capacity, "%s/%s/", "@/../var/logs/orvu_default_autolog/",
                          name);
    }
    orvu_autolog_init(log_path, default_log_files);
}

}  // namespace

void write_stamp(const std::tm* time, Stamp& stamp) noexcept {
    if (time == nullptr) {
        std::strncpy(stamp.text, "1970-01-01 00:00:00", sizeof stamp.text - 1);
        return;
    }
    orvu_str_snprintf(stamp.text, sizeof stamp.text, "%d-%02d-%02d %02d:%02d:%02d",
                      time->tm_year + 1900, time->tm_mon + 1, time->tm_mday, time->tm_hour,
                      time->tm_min, time->tm_sec);
}

bool begin(int32_t level, Stamp& stamp) noexcept {
    if (orvu_log_is_regestered() == 0) {
        make_default_log();
    }
    std::tm now = {};
    write_stamp(platform::local_time(now) ? &now : nullptr, stamp);
    return enabled(level);
}

}  // namespace kolvessa::log
