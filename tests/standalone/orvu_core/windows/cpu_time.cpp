#include "tests/standalone/orvu_core/cpu_time.h"

#include <windows.h>

#include <cstdint>

namespace orvu::test {

namespace {

double seconds(const FILETIME& time) {
    const uint64_t ticks = (static_cast<uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
    return static_cast<double>(ticks) / 1e7;
}

}  // namespace

double process_cpu_seconds() {
    FILETIME made;
    FILETIME ended;
    FILETIME kernel;
    FILETIME user;
    GetProcessTimes(GetCurrentProcess(), &made, &ended, &kernel, &user);
    return seconds(kernel) + seconds(user);
}

}  // namespace orvu::test
