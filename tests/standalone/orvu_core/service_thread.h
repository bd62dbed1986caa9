#ifndef ORVU_TESTS_STANDALONE_ORVU_CORE_SERVICE_THREAD_H
#define ORVU_TESTS_STANDALONE_ORVU_CORE_SERVICE_THREAD_H

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <utility>

#include "qiv_jansson.h"
#include "standalone/orvu_core/json_ref.h"
#include "standalone/orvu_core/orvu_core_host.h"

namespace orvu::test {

/* A thread as a plug-in has them: it registers something, then polls for as long as this object
 * lives. The constructor returns when the set-up has run. */
class ServiceThread {
  public:
    explicit ServiceThread(std::function<void()> set_up) {
        // The thread owns the promise: its setting may still be going on when the waiter returns.
        std::promise<void> ready;
        const std::future<void> is_ready = ready.get_future();
        thread_ = std::thread([this, ready = std::move(ready), work = std::move(set_up)]() mutable {
            mailbox_ = orvu_host_mailbox();
            work();
            ready.set_value();
            while (!stop_) {
                orvu_poll_wait(10);
            }
        });
        is_ready.wait();
    }
    ServiceThread(const ServiceThread&) = delete;
    ServiceThread& operator=(const ServiceThread&) = delete;
    ~ServiceThread() {
        stop_ = true;
        orvu_host_wake(mailbox_);
        thread_.join();
    }

    std::thread::id id() const { return thread_.get_id(); }
    uint64_t mailbox() const { return mailbox_; }

  private:
    std::atomic<bool> stop_{false};
    std::atomic<uint64_t> mailbox_{0};
    std::thread thread_;
};

/* Polls the calling thread's mailbox until a condition holds; false after ten seconds. */
inline bool poll_until(const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!done()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        orvu_host_poll(10);
    }
    return true;
}

/* The same without a mailbox of its own. */
inline bool eventually(const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!done()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

inline JsonRef json(const char* text) {
    json_error_t error;
    return JsonRef(qiv_json_loads(text, JSON_DECODE_ANY, &error));
}

inline std::string text_of(json_t* value) {
    char* const dumped = qiv_json_dumps(value, JSON_COMPACT | JSON_SORT_KEYS | JSON_ENCODE_ANY);
    std::string text = dumped == nullptr ? "" : dumped;
    qiv_jsonp_free(dumped);
    return text;
}

inline std::string text_of(const JsonRef& value) {
    return text_of(value.get());
}

}  // namespace orvu::test

#endif  // ORVU_TESTS_STANDALONE_ORVU_CORE_SERVICE_THREAD_H
