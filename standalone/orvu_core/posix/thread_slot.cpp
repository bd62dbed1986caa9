#include "standalone/orvu_core/thread_slot.h"

namespace orvu {

namespace {

struct Slot {
    std::shared_ptr<Mailbox> box;
    ~Slot();
};

// Trivial, so that it can still be read while the thread's other locals are destroyed.
thread_local bool t_ended = false;
thread_local Slot t_slot;

Slot::~Slot() {
    t_ended = true;
    thread_slot_ended(box);
}

}  // namespace

std::shared_ptr<Mailbox>* thread_slot() {
    return t_ended ? nullptr : &t_slot.box;
}

}  // namespace orvu
