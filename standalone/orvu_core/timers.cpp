#include "standalone/orvu_core/timers.h"

#include <system_error>
#include <thread>

namespace orvu {

orvu_timer Timers::start(uint32_t delay_ms, orvu_timer_cb callback, void* argument) {
    if (callback == nullptr) {
        return 0;
    }
    const steady_time due = std::chrono::steady_clock::now() + std::chrono::milliseconds(delay_ms);
    const std::lock_guard lock(mutex_);
    if (waiting_.size() >= kLimit) {
        return 0;
    }
    if (!serving_) {
        try {
            std::thread([this] { serve(); }).detach();
        } catch (const std::system_error&) {
            return 0;
        }
        serving_ = true;
    }
    const orvu_timer timer = next_handle();
    due_.emplace(timer, due);
    try {
        waiting_.emplace(Due(due, timer), Timer{callback, argument});
    } catch (...) {
        due_.erase(timer);
        throw;
    }
    changed_.notify_one();
    return timer;
}

int32_t Timers::stop(orvu_timer timer) {
    const std::lock_guard lock(mutex_);
    const auto found = due_.find(timer);
    if (found == due_.end()) {
        return ORVU_HOST_NOT_FOUND;
    }
    waiting_.erase(Due(found->second, timer));
    due_.erase(found);
    return ORVU_HOST_OK;
}

void Timers::serve() {
    std::unique_lock lock(mutex_);
    for (;;) {
        if (waiting_.empty()) {
            changed_.wait(lock);
            continue;
        }
        const auto first = waiting_.begin();
        const steady_time due = first->first.first;
        if (std::chrono::steady_clock::now() < due) {
            changed_.wait_until(lock, due);
            continue;
        }
        const Timer timer = first->second;
        due_.erase(first->first.second);
        waiting_.erase(first);
        lock.unlock();
        timer.callback(0, timer.argument);
        lock.lock();
    }
}

}  // namespace orvu
