#include <windows.h>

#include "plugins/kolvessa/platform/platform.h"

namespace kolvessa::platform {

uint32_t process_id() {
    return GetCurrentProcessId();
}

uint32_t thread_id() {
    return GetCurrentThreadId();
}

uint32_t tick_count() {
    return GetTickCount();
}

void sleep_ms(uint32_t milliseconds) {
    Sleep(milliseconds);
}

bool local_time(std::tm& out) {
    const __time64_t now = _time64(nullptr);
    return _localtime64_s(&out, &now) == 0;
}

}  // namespace kolvessa::platform
