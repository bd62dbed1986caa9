#include "standalone/orvu_core/core.h"

namespace orvu {

namespace {

// A thread has ended: what it had registered goes with it.
void thread_ended(const std::shared_ptr<Mailbox>& mailbox) {
    guarded(false, [&mailbox] {
        core().resources.drop_mailbox(mailbox);
        core().subscriptions.drop_mailbox(mailbox);
        core().conditions.drop_mailbox(mailbox);
        core().console.drop_mailbox(mailbox);
        return true;
    });
}

Core& make_core() {
    set_mailbox_closed_hook(thread_ended);
    return *new Core;
}

}  // namespace

Core& core() {
    static Core& instance = make_core();
    return instance;
}

}  // namespace orvu
