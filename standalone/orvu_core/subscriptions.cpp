#include "standalone/orvu_core/subscriptions.h"

#include <atomic>
#include <deque>
#include <utility>
#include <vector>

#include "standalone/orvu_core/codes.h"

namespace orvu {

namespace {

enum Moment : int32_t { kAttached = 0, kPushed = 1, kLost = 3 };

}  // namespace

/* One subscriber with its link. What isn't atomic or constant is guarded by the mutex of
 * Subscriptions; `side`, `ref` and `mailbox` are constant once the link is made. */
struct Link {
    orvu_subscriber handle = 0;
    std::string ns;
    std::string name;
    orvu_subscriber_attr attr{};

    orvu_subscriber_ref ref = 0;
    std::string subscribee;
    SubscriberSide side;
    std::shared_ptr<Mailbox> mailbox;  // the subscriber's
    bool attached = false;
    std::deque<JsonRef> pending;
    std::atomic<bool> ended{false};

    void deliver(int32_t moment, json_t* payload) const {
        if (ended) {
            return;
        }
        if (side.contract != nullptr) {
            side.contract(0, 0, moment, payload, ref);
        } else if (side.host != nullptr) {
            side.host(moment, payload, side.context);
        }
    }
};

orvu_subscriber Subscriptions::create(const orvu_subscriber_attr& attr) {
    auto link = std::make_shared<Link>();
    link->handle = next_handle();
    link->ns = attr.ns == nullptr ? "" : attr.ns;
    link->name = attr.name == nullptr ? "" : attr.name;
    link->attr = {link->ns.c_str(), link->name.c_str(), attr.reserved};
    const std::lock_guard lock(mutex_);
    if (subscribers_.size() >= kMaxSubscribers) {
        return 0;
    }
    const orvu_subscriber handle = link->handle;
    subscribers_.emplace(handle, std::move(link));
    return handle;
}

void Subscriptions::discard(orvu_subscriber subscriber) {
    const std::lock_guard lock(mutex_);
    subscribers_.erase(subscriber);
}

int32_t Subscriptions::subscribe(orvu_subscriber subscriber, const char* subscribee,
                                 const SubscriberSide& side) {
    if (!usable_name(subscribee)) {
        return ORVU_HOST_INVALID;
    }
    std::string name = subscribee;
    const std::shared_ptr<Mailbox> mailbox = Mailbox::current();
    if (!mailbox) {
        return ORVU_HOST_NO_MEMORY;
    }
    const std::lock_guard lock(mutex_);
    const auto found = subscribers_.find(subscriber);
    if (found == subscribers_.end()) {
        return ORVU_HOST_NOT_FOUND;
    }
    const std::shared_ptr<Link>& link = found->second;
    if (link->ref != 0) {
        return ORVU_HOST_DUPLICATE;
    }
    const orvu_subscriber_ref ref = next_handle();
    refs_.emplace(ref, link);
    link->ref = ref;
    link->subscribee = std::move(name);
    link->side = side;
    link->mailbox = mailbox;
    const auto target = subscribees_.find(link->subscribee);
    if (target != subscribees_.end() && attach(link, target->second) == ORVU_HOST_QUEUE_FULL) {
        link->ref = 0;
        refs_.erase(ref);
        return ORVU_HOST_QUEUE_FULL;
    }
    return ORVU_HOST_OK;
}

int32_t Subscriptions::attach(const std::shared_ptr<Link>& link, Subscribee& subscribee) {
    const auto result = subscribee.mailbox->post(
        [link, callback = subscribee.callback] { callback(0, 0, kAttached, nullptr, link->ref); },
        Mailbox::Kind::control);
    if (result != Mailbox::Result::posted) {
        return code_of(result);  // the link goes on waiting
    }
    link->attached = true;
    ++subscribee.links;
    tell_subscriber(link, kAttached, Mailbox::Kind::control);
    for (; !link->pending.empty(); link->pending.pop_front()) {
        subscribee.mailbox->post(
            [link, callback = subscribee.callback, payload = std::move(link->pending.front())] {
                callback(0, 0, kPushed, payload.get(), link->ref);
            },
            Mailbox::Kind::ordinary);
    }
    return ORVU_HOST_OK;
}

void Subscriptions::tell_subscriber(const std::shared_ptr<Link>& link, int32_t moment,
                                    Mailbox::Kind kind) {
    link->mailbox->post([link, moment] { link->deliver(moment, nullptr); }, kind);
}

int32_t Subscriptions::push_forward(orvu_subscriber subscriber, json_t* object) {
    if (object == nullptr) {
        return ORVU_HOST_INVALID;
    }
    CloneError error = CloneError::none;
    JsonRef payload = json_clone(object, &error);
    if (error != CloneError::none) {
        return error == CloneError::too_deep ? ORVU_HOST_INVALID : ORVU_HOST_NO_MEMORY;
    }
    const std::lock_guard lock(mutex_);
    const auto found = subscribers_.find(subscriber);
    if (found == subscribers_.end() || found->second->ref == 0) {
        return ORVU_HOST_NOT_FOUND;
    }
    const std::shared_ptr<Link>& link = found->second;
    if (!link->attached) {
        if (link->pending.size() >= kMaxPending) {
            return ORVU_HOST_QUEUE_FULL;
        }
        link->pending.push_back(std::move(payload));
        return ORVU_HOST_OK;
    }
    const Subscribee& target = subscribees_.find(link->subscribee)->second;
    return code_of(target.mailbox->post(
        [link, callback = target.callback, payload = std::move(payload)] {
            callback(0, 0, kPushed, payload.get(), link->ref);
        },
        Mailbox::Kind::ordinary));
}

int32_t Subscriptions::push_back(orvu_subscriber_ref ref, json_t* object) {
    if (object == nullptr) {
        return ORVU_HOST_INVALID;
    }
    CloneError error = CloneError::none;
    JsonRef payload = json_clone(object, &error);
    if (error != CloneError::none) {
        return error == CloneError::too_deep ? ORVU_HOST_INVALID : ORVU_HOST_NO_MEMORY;
    }
    const std::lock_guard lock(mutex_);
    const auto found = refs_.find(ref);
    if (found == refs_.end() || found->second->ended) {
        return ORVU_HOST_NOT_FOUND;
    }
    const std::shared_ptr<Link>& link = found->second;
    return code_of(link->mailbox->post(
        [link, payload = std::move(payload)] { link->deliver(kPushed, payload.get()); },
        Mailbox::Kind::ordinary));
}

const orvu_subscriber_attr* Subscriptions::attr(orvu_subscriber_ref ref) {
    const std::lock_guard lock(mutex_);
    const auto found = refs_.find(ref);
    return found == refs_.end() ? nullptr : &found->second->attr;
}

int32_t Subscriptions::end(orvu_subscriber subscriber, int32_t moment) {
    const std::lock_guard lock(mutex_);
    const auto found = subscribers_.find(subscriber);
    return found == subscribers_.end() ? ORVU_HOST_NOT_FOUND : end_locked(found->second, moment);
}

int32_t Subscriptions::end_locked(const std::shared_ptr<Link>& link, int32_t moment) {
    if (link->attached) {
        Subscribee& target = subscribees_.find(link->subscribee)->second;
        const auto result = target.mailbox->post(
            [this, link, moment, callback = target.callback] {
                callback(0, 0, moment, nullptr, link->ref);
                forget_ref(link->ref);
            },
            Mailbox::Kind::control);
        if (result == Mailbox::Result::full) {
            return ORVU_HOST_QUEUE_FULL;
        }
        --target.links;
    } else {
        refs_.erase(link->ref);
    }
    link->ended = true;
    link->pending.clear();
    // The last step, since `link` may be the one that is erased.
    const orvu_subscriber handle = link->handle;
    subscribers_.erase(handle);
    return ORVU_HOST_OK;
}

void Subscriptions::forget_ref(orvu_subscriber_ref ref) {
    const std::lock_guard lock(mutex_);
    refs_.erase(ref);
}

int32_t Subscriptions::install(const char* name, orvu_subscription_cb callback) {
    if (callback == nullptr) {
        return ORVU_HOST_INVALID;
    }
    const std::shared_ptr<Mailbox> mailbox = Mailbox::current();
    if (!mailbox) {
        return ORVU_HOST_NO_MEMORY;
    }
    const auto outcome = [&mailbox, callback](int32_t code) {
        mailbox->post([callback, code] { callback(code, 0, kAttached, nullptr, 0); },
                      Mailbox::Kind::control);
        return code;
    };
    if (!usable_name(name)) {
        return outcome(ORVU_HOST_INVALID);
    }
    const std::lock_guard lock(mutex_);
    const auto [entry, fresh] = subscribees_.try_emplace(name, Subscribee{mailbox, callback, 0});
    if (!fresh) {
        return outcome(ORVU_HOST_DUPLICATE);
    }
    outcome(ORVU_HOST_OK);
    for (const auto& [handle, link] : subscribers_) {
        if (link->ref != 0 && !link->attached && link->subscribee == entry->first) {
            attach(link, entry->second);
        }
    }
    return ORVU_HOST_OK;
}

JsonRef Subscriptions::list() {
    JsonRef array(qiv_json_array());
    const std::lock_guard lock(mutex_);
    for (const auto& [name, subscribee] : subscribees_) {
        JsonRef entry(qiv_json_object());
        qiv_json_object_set_new(entry.get(), "name", json_text(name.data(), name.size()).release());
        qiv_json_object_set_new(entry.get(), "subscribers",
                                qiv_json_integer(static_cast<json_int_t>(subscribee.links)));
        qiv_json_array_append_new(array.get(), entry.release());
    }
    return array;
}

void Subscriptions::drop_mailbox(const std::shared_ptr<Mailbox>& mailbox) {
    const std::lock_guard lock(mutex_);
    std::erase_if(subscribees_, [this, &mailbox](const auto& entry) {
        if (entry.second.mailbox != mailbox) {
            return false;
        }
        for (const auto& [handle, link] : subscribers_) {
            if (link->attached && link->subscribee == entry.first) {
                link->attached = false;  // and waits for the next one of that name
                tell_subscriber(link, kLost, Mailbox::Kind::control);
            }
        }
        // Goodbyes that were still queued there died with the thread.
        std::erase_if(refs_, [&entry](const auto& known) {
            return known.second->ended && known.second->subscribee == entry.first;
        });
        return true;
    });
    std::vector<std::shared_ptr<Link>> lost;
    for (const auto& [handle, link] : subscribers_) {
        if (link->side.ends_with_thread && link->mailbox == mailbox) {
            lost.push_back(link);
        }
    }
    for (const std::shared_ptr<Link>& link : lost) {
        end_locked(link, kLost);
    }
}

}  // namespace orvu
