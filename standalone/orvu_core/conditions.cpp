#include "standalone/orvu_core/conditions.h"

#include <atomic>
#include <utility>
#include <vector>

#include "standalone/orvu_core/codes.h"

namespace orvu {

namespace {

enum Operation : int32_t { kAttach = 0, kDetach = 1 };

}  // namespace

/* One condition. `attr`, `param` and the attaching side are constant; `detached` is read by
 * callbacks on the attaching thread, the rest is guarded by the mutex of Conditions. */
struct Condition {
    orvu_cond handle = 0;
    std::string executor;
    JsonRef param;
    orvu_cond_attr attr{};
    std::shared_ptr<Mailbox> mailbox;
    orvu_host_condition_cb callback = nullptr;
    void* context = nullptr;
    std::atomic<bool> detached{false};
    bool handed_over = false;
    bool reported = false;
    int32_t state = 0;
};

int32_t Conditions::install(const char* name, orvu_cond_cb callback) {
    if (!usable_name(name) || callback == nullptr) {
        return ORVU_HOST_INVALID;
    }
    const std::shared_ptr<Mailbox> mailbox = Mailbox::current();
    if (!mailbox) {
        return ORVU_HOST_NO_MEMORY;
    }
    const std::lock_guard lock(mutex_);
    const auto [entry, fresh] = executors_.try_emplace(name, Executor{mailbox, callback, 0});
    if (!fresh) {
        return ORVU_HOST_DUPLICATE;
    }
    for (const auto& [handle, condition] : conditions_) {
        if (!condition->handed_over && condition->executor == entry->first) {
            hand_over(condition, entry->second);
        }
    }
    return ORVU_HOST_OK;
}

int32_t Conditions::hand_over(const std::shared_ptr<Condition>& condition, Executor& executor) {
    const auto result = executor.mailbox->post(
        [condition, callback = executor.callback] { callback(condition->handle, kAttach); },
        Mailbox::Kind::control);
    if (result == Mailbox::Result::posted) {
        condition->handed_over = true;
        ++executor.conditions;
    }
    return code_of(result);
}

const orvu_cond_attr* Conditions::attr(orvu_cond condition) {
    const std::lock_guard lock(mutex_);
    const auto found = conditions_.find(condition);
    return found == conditions_.end() ? nullptr : &found->second->attr;
}

int32_t Conditions::report(orvu_cond condition, const orvu_cond_result* result) {
    if (result == nullptr) {
        return ORVU_HOST_INVALID;
    }
    const int32_t state = result->state;
    const std::lock_guard lock(mutex_);
    const auto found = conditions_.find(condition);
    if (found == conditions_.end() || found->second->detached) {
        return ORVU_HOST_NOT_FOUND;
    }
    const std::shared_ptr<Condition>& target = found->second;
    target->reported = true;
    target->state = state;
    reported_.notify_all();
    if (target->callback == nullptr) {
        return ORVU_HOST_OK;
    }
    return code_of(target->mailbox->post(
        [target, state] {
            if (!target->detached) {
                target->callback(target->handle, state, target->context);
            }
        },
        Mailbox::Kind::ordinary));
}

orvu_cond Conditions::attach(const char* executor, json_t* param, orvu_host_condition_cb callback,
                             void* context) {
    const std::shared_ptr<Mailbox> mailbox = Mailbox::current();
    CloneError error = CloneError::none;
    JsonRef copy = json_clone(param, &error);
    if (param == nullptr) {
        copy = JsonRef(qiv_json_object());
    }
    if (!usable_name(executor) || !mailbox || !copy) {
        return 0;
    }
    auto condition = std::make_shared<Condition>();
    condition->handle = next_handle();
    condition->executor = executor;
    condition->param = std::move(copy);
    condition->attr.param = condition->param.get();
    condition->mailbox = mailbox;
    condition->callback = callback;
    condition->context = context;
    const std::lock_guard lock(mutex_);
    if (conditions_.size() >= kMaxConditions) {
        return 0;
    }
    conditions_.emplace(condition->handle, condition);
    const auto found = executors_.find(condition->executor);
    if (found != executors_.end() && hand_over(condition, found->second) == ORVU_HOST_QUEUE_FULL) {
        conditions_.erase(condition->handle);
        return 0;
    }
    return condition->handle;
}

int32_t Conditions::detach(orvu_cond condition) {
    const std::lock_guard lock(mutex_);
    const auto found = conditions_.find(condition);
    if (found == conditions_.end() || found->second->detached) {
        return ORVU_HOST_NOT_FOUND;
    }
    return detach_locked(found->second);
}

int32_t Conditions::detach_locked(const std::shared_ptr<Condition>& condition) {
    const bool known_to_executor = condition->handed_over;
    if (known_to_executor) {
        Executor& executor = executors_.find(condition->executor)->second;
        const auto result = executor.mailbox->post(
            [this, condition, callback = executor.callback] {
                callback(condition->handle, kDetach);
                forget(condition->handle);
            },
            Mailbox::Kind::control);
        if (result == Mailbox::Result::full) {
            return ORVU_HOST_QUEUE_FULL;
        }
        --executor.conditions;
    }
    condition->detached = true;
    reported_.notify_all();
    if (!known_to_executor) {
        // The last step, since `condition` may be the one that is erased.
        const orvu_cond handle = condition->handle;
        conditions_.erase(handle);
    }
    return ORVU_HOST_OK;
}

void Conditions::forget(orvu_cond condition) {
    const std::lock_guard lock(mutex_);
    conditions_.erase(condition);
}

int32_t Conditions::state(orvu_cond condition, uint32_t timeout_ms, int32_t* state) {
    const steady_time deadline = deadline_after(timeout_ms);
    std::unique_lock lock(mutex_);
    const auto found = conditions_.find(condition);
    if (found == conditions_.end()) {
        return ORVU_HOST_NOT_FOUND;
    }
    const std::shared_ptr<Condition> target = found->second;
    if (!wait_until(reported_, lock, deadline,
                    [&target] { return target->reported || target->detached; })) {
        return ORVU_HOST_TIMED_OUT;
    }
    if (target->detached) {
        return ORVU_HOST_NOT_FOUND;
    }
    if (state != nullptr) {
        *state = target->state;
    }
    return ORVU_HOST_OK;
}

JsonRef Conditions::list() {
    JsonRef array(qiv_json_array());
    const std::lock_guard lock(mutex_);
    for (const auto& [name, executor] : executors_) {
        JsonRef entry(qiv_json_object());
        qiv_json_object_set_new(entry.get(), "name", json_text(name.data(), name.size()).release());
        qiv_json_object_set_new(entry.get(), "conditions",
                                qiv_json_integer(static_cast<json_int_t>(executor.conditions)));
        qiv_json_array_append_new(array.get(), entry.release());
    }
    return array;
}

void Conditions::drop_mailbox(const std::shared_ptr<Mailbox>& mailbox) {
    const std::lock_guard lock(mutex_);
    std::erase_if(executors_, [this, &mailbox](const auto& entry) {
        if (entry.second.mailbox != mailbox) {
            return false;
        }
        std::erase_if(conditions_, [&entry](const auto& candidate) {
            Condition& condition = *candidate.second;
            if (condition.executor != entry.first) {
                return false;
            }
            // A detach that was still queued died with the thread; the others wait for the next
            // executor of that name.
            condition.handed_over = false;
            return condition.detached.load();
        });
        return true;
    });
    std::vector<std::shared_ptr<Condition>> left;
    for (const auto& [handle, condition] : conditions_) {
        if (condition->mailbox == mailbox && !condition->detached &&
            condition->callback != nullptr) {
            left.push_back(condition);
        }
    }
    for (const std::shared_ptr<Condition>& condition : left) {
        detach_locked(condition);
    }
}

}  // namespace orvu
