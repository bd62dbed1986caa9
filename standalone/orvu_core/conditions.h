#ifndef ORVU_STANDALONE_ORVU_CORE_CONDITIONS_H
#define ORVU_STANDALONE_ORVU_CORE_CONDITIONS_H

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "standalone/orvu_core/json_ref.h"
#include "standalone/orvu_core/mailbox.h"
#include "standalone/orvu_core/orvu_core_host.h"

namespace orvu {

struct Condition;

/* Condition executors and the conditions attached to them. An executor's callback runs in the
 * mailbox of the thread that installed it, a state callback in that of the thread that attached; a
 * condition whose executor isn't there waits for it. Any thread may call; all calls may throw
 * std::bad_alloc. */
class Conditions {
  public:
    static constexpr size_t kMaxConditions = 4096;

    /* INVALID, DUPLICATE, NO_MEMORY. */
    int32_t install(const char* name, orvu_cond_cb callback);

    /* The record that the executor reads; valid until its callback for the detach has returned. */
    const orvu_cond_attr* attr(orvu_cond condition);

    /* Takes a report. NOT_FOUND for a handle that is unknown or detached. */
    int32_t report(orvu_cond condition, const orvu_cond_result* result);

    orvu_cond attach(const char* executor, json_t* param, orvu_host_condition_cb callback,
                     void* context);
    int32_t detach(orvu_cond condition);
    int32_t state(orvu_cond condition, uint32_t timeout_ms, int32_t* state);

    /* [{"name", "conditions"}] */
    JsonRef list();

    void drop_mailbox(const std::shared_ptr<Mailbox>& mailbox);

  private:
    struct Executor {
        std::shared_ptr<Mailbox> mailbox;
        orvu_cond_cb callback = nullptr;
        size_t conditions = 0;
    };

    static int32_t hand_over(const std::shared_ptr<Condition>& condition, Executor& executor);
    int32_t detach_locked(const std::shared_ptr<Condition>& condition);
    void forget(orvu_cond condition);

    std::mutex mutex_;
    std::condition_variable reported_;
    std::map<std::string, Executor, std::less<>> executors_;
    std::map<orvu_cond, std::shared_ptr<Condition>> conditions_;
};

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_CONDITIONS_H
