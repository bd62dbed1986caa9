#ifndef ORVU_STANDALONE_ORVU_CORE_SUBSCRIPTIONS_H
#define ORVU_STANDALONE_ORVU_CORE_SUBSCRIPTIONS_H

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

#include "standalone/orvu_core/json_ref.h"
#include "standalone/orvu_core/mailbox.h"
#include "standalone/orvu_core/orvu_core_host.h"

namespace orvu {

struct Link;

/* What a subscriber wants to hear, in one of the two callback shapes. */
struct SubscriberSide {
    orvu_subscription_cb contract = nullptr;   // of orvu_core.h
    orvu_host_subscription_cb host = nullptr;  // of orvu_core_host.h
    void* context = nullptr;
    bool ends_with_thread = false;  // the thread's end counts as a lost connection
};

/* Subscribers and subscribees of this process. A subscriber has one link, to one subscribee; before
 * that is installed the link waits, and keeps up to kMaxPending payloads for it. Each callback runs
 * in the mailbox of the thread that registered it; every payload is a copy of its own. Any thread
 * may call; all calls may throw std::bad_alloc. */
class Subscriptions {
  public:
    static constexpr size_t kMaxPending = 64;
    static constexpr size_t kMaxSubscribers = 4096;

    /* A subscriber with copies of the attributes, null ones as empty; 0 at the limit. */
    orvu_subscriber create(const orvu_subscriber_attr& attr);
    void discard(orvu_subscriber subscriber);

    /* Links a subscriber, once, on the calling thread. OK also when the subscribee is still to
     * come; NOT_FOUND, INVALID, DUPLICATE (linked before), QUEUE_FULL. */
    int32_t subscribe(orvu_subscriber subscriber, const char* subscribee,
                      const SubscriberSide& side);

    int32_t push_forward(orvu_subscriber subscriber, json_t* object);
    int32_t push_back(orvu_subscriber_ref ref, json_t* object);

    /* The attributes behind a reference, valid until the subscribee has heard moment 2 or 3 for it.
     */
    const orvu_subscriber_attr* attr(orvu_subscriber_ref ref);

    /* Ends a link with moment 2 (left) or 3 (lost). */
    int32_t end(orvu_subscriber subscriber, int32_t moment);

    /* Installs a subscribee on the calling thread. The outcome is delivered to the callback with a
     * null reference, before the links that waited attach. INVALID, DUPLICATE. */
    int32_t install(const char* name, orvu_subscription_cb callback);

    /* [{"name", "subscribers"}] */
    JsonRef list();

    void drop_mailbox(const std::shared_ptr<Mailbox>& mailbox);

  private:
    struct Subscribee {
        std::shared_ptr<Mailbox> mailbox;
        orvu_subscription_cb callback = nullptr;
        size_t links = 0;
    };

    int32_t attach(const std::shared_ptr<Link>& link, Subscribee& subscribee);
    int32_t end_locked(const std::shared_ptr<Link>& link, int32_t moment);
    void forget_ref(orvu_subscriber_ref ref);
    static void tell_subscriber(const std::shared_ptr<Link>& link, int32_t moment,
                                Mailbox::Kind kind);

    std::mutex mutex_;
    std::map<std::string, Subscribee, std::less<>> subscribees_;
    std::map<orvu_subscriber, std::shared_ptr<Link>> subscribers_;
    std::unordered_map<orvu_subscriber_ref, std::shared_ptr<Link>> refs_;
};

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_SUBSCRIPTIONS_H
