#ifndef ORVU_STANDALONE_ORVU_CORE_TIMERS_H
#define ORVU_STANDALONE_ORVU_CORE_TIMERS_H

#include <condition_variable>
#include <map>
#include <mutex>
#include <unordered_map>
#include <utility>

#include "standalone/orvu_core/mailbox.h"
#include "standalone/orvu_core/orvu_core_host.h"

namespace orvu {

/* One-shot timers, served by one thread of their own that starts with the first of them and sleeps
 * until the next is due. Callbacks run on that thread, one at a time, with no lock held. Any thread
 * may call, a callback too. */
class Timers {
  public:
    static constexpr size_t kLimit = 65536;

    /* The timer's handle; 0 for a null callback, at the limit, or without a thread. */
    orvu_timer start(uint32_t delay_ms, orvu_timer_cb callback, void* argument);

    /* OK: the callback will not run. NOT_FOUND: it has run or is running, was stopped before, or
     * never was. Never waits for a running callback, whose locks the caller may hold. */
    int32_t stop(orvu_timer timer);

  private:
    using Due = std::pair<steady_time, orvu_timer>;
    struct Timer {
        orvu_timer_cb callback;
        void* argument;
    };

    void serve();

    std::mutex mutex_;
    std::condition_variable changed_;
    bool serving_ = false;
    std::map<Due, Timer> waiting_;
    std::unordered_map<orvu_timer, steady_time> due_;
};

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_TIMERS_H
