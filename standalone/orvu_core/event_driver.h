#ifndef ORVU_STANDALONE_ORVU_CORE_EVENT_DRIVER_H
#define ORVU_STANDALONE_ORVU_CORE_EVENT_DRIVER_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "standalone/orvu_core/json_ref.h"
#include "standalone/orvu_core/mailbox.h"
#include "standalone/orvu_core/orvu_core_host.h"

namespace orvu {

struct EventMessage;
struct EventRegistration;

/* The driver's event side: registrations, and a small pool of threads that runs their handlers. A
 * raiser's record goes to each matching registration in the order of registration, one after the
 * other, and each must complete it before the next sees it. Any thread may call, handlers too; all
 * calls may throw std::bad_alloc. */
class EventDriver {
  public:
    static constexpr size_t kThreads = ORVU_EVENT_THREADS;
    static constexpr size_t kMaxRegistrations = 64;
    static constexpr size_t kMaxStranded = 1024;
    static constexpr uint32_t kUnregisterWaitMs = 10000;

    /* Registers, or, for a class, sub-class, handler and mask that are registered already, replaces
     * context and limit. INVALID for a null handler, a limit below 1 or a mask of 0; LIMIT. */
    int32_t add(int32_t cls, int32_t sub, orvu_event_handler handler, void* context, int32_t limit,
                uint16_t mask);

    /* Unregisters: messages that wait for the handler are given back to their raisers as not
     * handled, and running handlers of it are waited for, unless the caller is within an event
     * handler itself. NOT_FOUND; TIMED_OUT when one was still running after kUnregisterWaitMs. */
    int32_t remove(int32_t cls, int32_t sub, orvu_event_handler handler, uint16_t mask);

    /* The record of a message that is with a handler; null for any other handle. */
    void* data(orvu_msg message);

    /* Ends a message. NOT_FOUND for one that is unknown or completed before. */
    int32_t complete(orvu_msg message);

    /* Raises a record for a class, sub-class and kinds (any bit in common with a registration's
     * mask). On OK the record is as the handlers left it, else as it was given. */
    int32_t raise(int32_t cls, int32_t sub, uint16_t kinds, std::vector<unsigned char>* record,
                  uint32_t timeout_ms);

    int32_t wait_registered(int32_t cls, int32_t sub, uint32_t timeout_ms);

    /* [{"class", "sub", "mask", "limit", "waiting", "running"}], in the order of registration. */
    JsonRef list();

  private:
    using Registration = std::shared_ptr<EventRegistration>;
    using Message = std::shared_ptr<EventMessage>;

    int32_t hand(const Registration& registration, std::vector<unsigned char>* record,
                 steady_time deadline);
    bool start_pool();
    void serve();
    void strand(const Message& message);

    std::mutex mutex_;
    std::condition_variable queued_;
    std::condition_variable changed_;  // registrations and their running handlers
    size_t threads_ = 0;
    std::vector<Registration> registrations_;
    std::deque<Message> queue_;
    std::unordered_map<orvu_msg, Message> messages_;
    std::deque<orvu_msg> stranded_;
};

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_EVENT_DRIVER_H
