#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "plugins/kolvessa/platform/platform.h"

namespace kolvessa::platform {

uint32_t process_id() {
    return static_cast<uint32_t>(getpid());
}

uint32_t thread_id() {
    static thread_local const auto id = static_cast<uint32_t>(syscall(SYS_gettid));
    return id;
}

uint32_t tick_count() {
    const auto since = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(since).count());
}

void sleep_ms(uint32_t milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

bool local_time(std::tm& out) {
    const std::time_t now = std::time(nullptr);
    return localtime_r(&now, &out) != nullptr;
}

}  // namespace kolvessa::platform
