#include "standalone/orvu_core/mailbox.h"

#include <atomic>
#include <exception>
#include <unordered_map>
#include <utility>

#include "standalone/orvu_core/process_end.h"
#include "standalone/orvu_core/thread_slot.h"

namespace orvu {

namespace {

// Never destroyed: threads that outlive the static destructors still post and end.
struct Directory {
    std::mutex mutex;
    std::unordered_map<uint64_t, std::weak_ptr<Mailbox>> boxes;
    std::atomic<void (*)(const std::shared_ptr<Mailbox>&)> closed_hook{nullptr};
};

Directory& directory() {
    static Directory& instance = *new Directory;
    return instance;
}

}  // namespace

void thread_slot_ended(const std::shared_ptr<Mailbox>& box) {
    // At the end of the process nobody is left to be told, and a thread that was stopped for it may
    // have left one of the locks below taken.
    if (!box || process_is_ending()) {
        return;
    }
    box->close();
    Directory& all = directory();
    {
        const std::lock_guard lock(all.mutex);
        all.boxes.erase(box->id());
    }
    if (auto* hook = all.closed_hook.load()) {
        hook(box);
    }
}

steady_time deadline_after(uint32_t milliseconds) {
    if (milliseconds == UINT32_MAX) {
        return steady_time::max();
    }
    return std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
}

std::shared_ptr<Mailbox> Mailbox::current() {
    std::shared_ptr<Mailbox>* const slot = thread_slot();
    if (slot == nullptr) {
        return nullptr;
    }
    if (!*slot) {
        try {
            auto box = std::make_shared<Mailbox>(next_handle());
            Directory& all = directory();
            const std::lock_guard lock(all.mutex);
            all.boxes.emplace(box->id(), box);
            *slot = std::move(box);
        } catch (const std::exception&) {
            return nullptr;
        }
    }
    return *slot;
}

Mailbox::Result Mailbox::post(Task task, Kind kind) {
    {
        const std::lock_guard lock(mutex_);
        if (closed_) {
            return Result::closed;
        }
        if (tasks_.size() >= (kind == Kind::control ? 2 * kLimit : kLimit)) {
            return Result::full;
        }
        tasks_.push_back(std::move(task));
    }
    changed_.notify_one();
    return Result::posted;
}

bool Mailbox::wake() {
    {
        const std::lock_guard lock(mutex_);
        if (closed_) {
            return false;
        }
        woken_ = true;
    }
    changed_.notify_one();
    return true;
}

uint32_t Mailbox::wait(steady_time deadline) {
    std::deque<Task> due;
    {
        std::unique_lock lock(mutex_);
        if (running_ || closed_) {
            return 0;
        }
        wait_until(changed_, lock, deadline, [this] { return woken_ || !tasks_.empty(); });
        woken_ = false;
        due.swap(tasks_);
        running_ = true;
    }
    uint32_t ran = 0;
    for (; !due.empty(); due.pop_front()) {
        try {
            due.front()();
        } catch (const std::exception&) {
            // Only this host's own part of a task can throw, when memory runs out: the task is
            // lost, as its poster learns from its destruction.
            due.front() = nullptr;
        }
        ++ran;
    }
    const std::lock_guard lock(mutex_);
    running_ = false;
    return ran;
}

void Mailbox::close() {
    std::deque<Task> dropped;
    const std::lock_guard lock(mutex_);
    closed_ = true;
    dropped.swap(tasks_);
}

std::shared_ptr<Mailbox> find_mailbox(uint64_t id) {
    Directory& all = directory();
    const std::lock_guard lock(all.mutex);
    const auto found = all.boxes.find(id);
    return found == all.boxes.end() ? nullptr : found->second.lock();
}

void set_mailbox_closed_hook(void (*hook)(const std::shared_ptr<Mailbox>& mailbox)) {
    directory().closed_hook.store(hook);
}

uintptr_t next_handle() {
    static std::atomic<uintptr_t> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

}  // namespace orvu
