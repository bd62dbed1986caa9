#include "standalone/orvu_core/event_driver.h"

#include <algorithm>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include "standalone/orvu_core/codes.h"

namespace orvu {

/* Guarded by the mutex of EventDriver, except what is constant. */
struct EventRegistration {
    int32_t cls;
    int32_t sub;
    orvu_event_handler handler;
    uint16_t mask;
    void* context;
    size_t limit;
    size_t waiting = 0;
    size_t running = 0;
    bool removed = false;
};

/* One record on its way through one handler. The record's bytes belong to the handler from the
 * start of its call to the completion, and to the raiser after that. The rest is guarded by the
 * mutex of EventDriver. It lives as long as anybody may still use it: the raiser, the pool's thread
 * in the handler, the table until it is completed. */
struct EventMessage {
    orvu_msg handle = 0;
    std::shared_ptr<EventRegistration> registration;
    std::vector<unsigned char> record;
    std::condition_variable ended;
    bool with_handler = false;  // the handler has been called
    bool handler_returned = false;
    bool completed = false;
    bool cancelled = false;  // its registration was removed before the handler was called
    bool abandoned = false;  // the raiser stopped waiting
};

namespace {

thread_local bool t_in_handler = false;

}  // namespace

int32_t EventDriver::add(int32_t cls, int32_t sub, orvu_event_handler handler, void* context,
                         int32_t limit, uint16_t mask) {
    if (handler == nullptr || limit < 1 || mask == 0) {
        return ORVU_HOST_INVALID;
    }
    const auto bound = static_cast<size_t>(limit);
    const std::lock_guard lock(mutex_);
    for (const Registration& known : registrations_) {
        if (known->cls == cls && known->sub == sub && known->handler == handler &&
            known->mask == mask) {
            known->context = context;
            known->limit = bound;
            return ORVU_HOST_OK;
        }
    }
    if (registrations_.size() >= kMaxRegistrations) {
        return ORVU_HOST_LIMIT;
    }
    if (!start_pool()) {
        return ORVU_HOST_NO_MEMORY;
    }
    registrations_.push_back(std::make_shared<EventRegistration>(
        EventRegistration{cls, sub, handler, mask, context, bound}));
    changed_.notify_all();
    return ORVU_HOST_OK;
}

// One thread is enough to serve; the others are started as long as the system gives them.
bool EventDriver::start_pool() {
    try {
        for (; threads_ < kThreads; ++threads_) {
            std::thread([this] { serve(); }).detach();
        }
    } catch (const std::system_error&) {
        return threads_ > 0;
    }
    return true;
}

int32_t EventDriver::remove(int32_t cls, int32_t sub, orvu_event_handler handler, uint16_t mask) {
    const steady_time deadline = deadline_after(kUnregisterWaitMs);
    std::unique_lock lock(mutex_);
    const auto found =
        std::find_if(registrations_.begin(), registrations_.end(), [&](const Registration& known) {
            return known->cls == cls && known->sub == sub && known->handler == handler &&
                   known->mask == mask;
        });
    if (found == registrations_.end()) {
        return ORVU_HOST_NOT_FOUND;
    }
    const Registration registration = std::move(*found);
    registrations_.erase(found);
    registration->removed = true;
    std::erase_if(queue_, [this, &registration](const Message& message) {
        if (message->registration != registration) {
            return false;
        }
        messages_.erase(message->handle);
        message->cancelled = true;
        message->ended.notify_all();
        return true;
    });
    registration->waiting = 0;
    // Within a handler the wait could be for the caller itself, or for another that waits as well.
    if (t_in_handler) {
        return ORVU_HOST_OK;
    }
    const bool quiet = wait_until(changed_, lock, deadline,
                                  [&registration] { return registration->running == 0; });
    return quiet ? ORVU_HOST_OK : ORVU_HOST_TIMED_OUT;
}

void* EventDriver::data(orvu_msg message) {
    const std::lock_guard lock(mutex_);
    const auto found = messages_.find(message);
    const bool usable = found != messages_.end() && found->second->with_handler;
    return usable ? found->second->record.data() : nullptr;
}

int32_t EventDriver::complete(orvu_msg message) {
    const std::lock_guard lock(mutex_);
    const auto found = messages_.find(message);
    if (found == messages_.end() || !found->second->with_handler) {
        return ORVU_HOST_NOT_FOUND;
    }
    found->second->completed = true;
    found->second->ended.notify_all();
    if (found->second->abandoned && found->second->handler_returned) {
        std::erase(stranded_, message);
    }
    messages_.erase(found);
    return ORVU_HOST_OK;
}

int32_t EventDriver::raise(int32_t cls, int32_t sub, uint16_t kinds,
                           std::vector<unsigned char>* record, uint32_t timeout_ms) {
    const steady_time deadline = deadline_after(timeout_ms);
    std::vector<Registration> targets;
    {
        const std::lock_guard lock(mutex_);
        std::copy_if(registrations_.begin(), registrations_.end(), std::back_inserter(targets),
                     [&](const Registration& known) {
                         return known->cls == cls && known->sub == sub &&
                                (known->mask & kinds) != 0;
                     });
    }
    int32_t code = ORVU_HOST_NOT_FOUND;
    std::vector<unsigned char> passed = *record;
    for (const Registration& registration : targets) {
        const int32_t outcome = hand(registration, &passed, deadline);
        if (outcome == ORVU_HOST_NOT_FOUND) {
            continue;  // unregistered meanwhile
        }
        code = outcome;
        if (code != ORVU_HOST_OK) {
            return code;
        }
    }
    if (code == ORVU_HOST_OK) {
        *record = std::move(passed);
    }
    return code;
}

int32_t EventDriver::hand(const Registration& registration, std::vector<unsigned char>* record,
                          steady_time deadline) {
    const auto message = std::make_shared<EventMessage>();
    message->handle = next_handle();
    message->registration = registration;
    message->record = *record;
    std::unique_lock lock(mutex_);
    if (registration->removed) {
        return ORVU_HOST_NOT_FOUND;
    }
    if (registration->waiting >= registration->limit) {
        return ORVU_HOST_QUEUE_FULL;
    }
    messages_.emplace(message->handle, message);
    try {
        queue_.push_back(message);
    } catch (...) {
        messages_.erase(message->handle);
        throw;
    }
    ++registration->waiting;
    queued_.notify_one();
    const bool ended = wait_until(message->ended, lock, deadline,
                                  [&message] { return message->completed || message->cancelled; });
    if (ended) {
        if (message->cancelled) {
            return ORVU_HOST_NOT_FOUND;
        }
        *record = message->record;
        return ORVU_HOST_OK;
    }
    message->abandoned = true;
    if (!message->with_handler) {
        std::erase(queue_, message);
        messages_.erase(message->handle);
        --registration->waiting;
    } else if (message->handler_returned) {
        strand(message);
    }
    return ORVU_HOST_TIMED_OUT;
}

void EventDriver::serve() {
    std::unique_lock lock(mutex_);
    for (;;) {
        queued_.wait(lock, [this] { return !queue_.empty(); });
        const Message message = std::move(queue_.front());
        queue_.pop_front();
        const Registration registration = message->registration;
        --registration->waiting;
        ++registration->running;
        message->with_handler = true;
        void* const context = registration->context;
        lock.unlock();
        t_in_handler = true;
        registration->handler(0, message->handle, context, 0);
        t_in_handler = false;
        lock.lock();
        --registration->running;
        changed_.notify_all();
        message->handler_returned = true;
        if (message->abandoned && !message->completed) {
            strand(message);
        }
    }
}

// Nobody waits for the message any more and its handler has returned, but another thread may have
// been left to complete it. Its record is kept for that one, up to a bound.
void EventDriver::strand(const Message& message) {
    try {
        stranded_.push_back(message->handle);
    } catch (const std::bad_alloc&) {
        messages_.erase(message->handle);
        return;
    }
    if (stranded_.size() > kMaxStranded) {
        messages_.erase(stranded_.front());
        stranded_.pop_front();
    }
}

int32_t EventDriver::wait_registered(int32_t cls, int32_t sub, uint32_t timeout_ms) {
    const steady_time deadline = deadline_after(timeout_ms);
    std::unique_lock lock(mutex_);
    const bool there = wait_until(changed_, lock, deadline, [this, cls, sub] {
        return std::any_of(registrations_.begin(), registrations_.end(),
                           [cls, sub](const Registration& known) {
                               return known->cls == cls && known->sub == sub;
                           });
    });
    return there ? ORVU_HOST_OK : ORVU_HOST_TIMED_OUT;
}

JsonRef EventDriver::list() {
    JsonRef array(qiv_json_array());
    const auto set = [](const JsonRef& entry, const char* key, json_int_t value) {
        qiv_json_object_set_new(entry.get(), key, qiv_json_integer(value));
    };
    const std::lock_guard lock(mutex_);
    for (const Registration& known : registrations_) {
        JsonRef entry(qiv_json_object());
        set(entry, "class", known->cls);
        set(entry, "sub", known->sub);
        set(entry, "mask", known->mask);
        set(entry, "limit", static_cast<json_int_t>(known->limit));
        set(entry, "waiting", static_cast<json_int_t>(known->waiting));
        set(entry, "running", static_cast<json_int_t>(known->running));
        qiv_json_array_append_new(array.get(), entry.release());
    }
    return array;
}

}  // namespace orvu
