#ifndef KOLVESSA_LOG_H
#define KOLVESSA_LOG_H

// The plug-in's log: KOLVESSA_LOG_WARN, KOLVESSA_LOG_INFO and KOLVESSA_LOG_DEBUG(format, ...), to
// be called as statements from any thread. The format must be a literal and is written as it
// stands, nothing appended; its conversions are the host's, "%S" for wide text included. Arguments
// are evaluated only when the line is written. A process without a logger gets a default one at the
// first call, whatever the level; several threads may find it missing at once, the host then keeps
// one. Nothing here fails or throws: a line that can't be written is lost.

#include <cstdint>
#include <ctime>

#include "orvubase.h"
#include "plugins/kolvessa/platform/platform.h"

namespace kolvessa::log {

inline constexpr int32_t warn = 1;
inline constexpr int32_t info = 2;
inline constexpr int32_t debug = 3;

// "YYYY-MM-DD hh:mm:ss", local time, or the first of January 1970 when the time can't be told.
struct Stamp {
    char text[256] = {};
};

// Writes the stamp of a local time; null is a time that can't be told.
void write_stamp(const std::tm* time, Stamp& stamp) noexcept;

// Readies a line: makes sure of a logger and takes the time. True when `level` is to be written.
bool begin(int32_t level, Stamp& stamp) noexcept;

// Whether a line of `level` would be written, for those who would have to build its values first.
inline bool enabled(int32_t level) noexcept {
    return orvu_log_level_get() >= level;
}

// A source file's name without its folders, whichever way their separators lean.
constexpr const char* base_name(const char* path) noexcept {
    const char* name = path;
    for (const char* p = path; *p != '\0'; ++p) {
        if (*p == '/' || *p == '\\') {
            name = p + 1;
        }
    }
    return name;
}

}  // namespace kolvessa::log

#define KOLVESSA_LOG_LINE(level, word, format, ...)                                           \
    do {                                                                                      \
        ::kolvessa::log::Stamp kolvessa_log_stamp;                                            \
        if (::kolvessa::log::begin(level, kolvessa_log_stamp)) {                              \
            orvu_log_output(level, "[%s] [" word "] [pid:%d] [tid:%d] %s [%s:%d] " format,    \
                            static_cast<const char*>(kolvessa_log_stamp.text),                \
                            static_cast<int32_t>(::kolvessa::platform::process_id()),         \
                            static_cast<int32_t>(::kolvessa::platform::thread_id()), "[nox]", \
                            ::kolvessa::log::base_name(__FILE__),                             \
                            static_cast<int32_t>(__LINE__) __VA_OPT__(, ) __VA_ARGS__);       \
        }                                                                                     \
    } while (false)

#define KOLVESSA_LOG_WARN(format, ...) \
    KOLVESSA_LOG_LINE(::kolvessa::log::warn, "warn", format __VA_OPT__(, ) __VA_ARGS__)
#define KOLVESSA_LOG_INFO(format, ...) \
    KOLVESSA_LOG_LINE(::kolvessa::log::info, "info", format __VA_OPT__(, ) __VA_ARGS__)
#define KOLVESSA_LOG_DEBUG(format, ...) \
    KOLVESSA_LOG_LINE(::kolvessa::log::debug, "debug", format __VA_OPT__(, ) __VA_ARGS__)

#endif  // KOLVESSA_LOG_H
