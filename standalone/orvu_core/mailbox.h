#ifndef ORVU_STANDALONE_ORVU_CORE_MAILBOX_H
#define ORVU_STANDALONE_ORVU_CORE_MAILBOX_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

namespace orvu {

using steady_time = std::chrono::steady_clock::time_point;

/* The time `milliseconds` from now, or the end of time for UINT32_MAX. */
steady_time deadline_after(uint32_t milliseconds);

/* Waits for a predicate under a held lock until a deadline of deadline_after. */
template <typename Predicate>
bool wait_until(std::condition_variable& changed, std::unique_lock<std::mutex>& lock,
                steady_time deadline, Predicate done) {
    if (deadline == steady_time::max()) {
        changed.wait(lock, done);
        return true;
    }
    // A wait that is over before it begins would still cost a tick of some systems' clocks.
    if (std::chrono::steady_clock::now() >= deadline) {
        return done();
    }
    return changed.wait_until(lock, deadline, done);
}

/* The queue of callbacks that are due on one thread. Any thread posts; only the owning thread waits
 * and runs. It is shared so that it outlives its thread: posting to a thread that has ended is
 * answered, not fatal, and what was still queued there is destroyed without being run.
 *
 * The queue is bounded: a post of the ordinary kind is refused when kLimit callbacks wait, one of
 * the control kind (outcomes, attach, detach) at twice that, so that a flood of payloads can't hide
 * that a party has left. */
class Mailbox {
  public:
    using Task = std::function<void()>;
    enum class Kind { ordinary, control };
    enum class Result { posted, full, closed };
    static constexpr size_t kLimit = 4096;

    explicit Mailbox(uint64_t id) : id_(id) {}
    Mailbox(const Mailbox&) = delete;
    Mailbox& operator=(const Mailbox&) = delete;

    /* The calling thread's mailbox, made on first use; null only when memory ran out or the thread
     * is already being torn down. */
    static std::shared_ptr<Mailbox> current();

    uint64_t id() const { return id_; }

    Result post(Task task, Kind kind);

    /* Ends the present or the next wait. False when the thread has ended. */
    bool wake();

    /* Owning thread only: waits until something is queued, then runs what is queued at that moment.
     * Returns how many ran; 0 at the deadline, after a wake, or from within a callback. */
    uint32_t wait(steady_time deadline);

    /* Owning thread only, at its end: refuses further posts and drops what is queued. */
    void close();

  private:
    const uint64_t id_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Task> tasks_;
    bool woken_ = false;
    bool closed_ = false;
    bool running_ = false;
};

/* Finds a live mailbox by its identifier; null when its thread has ended. */
std::shared_ptr<Mailbox> find_mailbox(uint64_t id);

/* Called on a thread that ends, after its mailbox is closed. Set once, before any mailbox exists.
 */
void set_mailbox_closed_hook(void (*hook)(const std::shared_ptr<Mailbox>& mailbox));

/* A new handle or identifier: never 0, never given twice in one process. */
uintptr_t next_handle();

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_MAILBOX_H
