// A ticket lock with phases. A reader adds itself to `readers_in` and goes on at once unless the
// low bits there show a writer; it then waits only for those bits to change, which they do when
// that writer leaves, even if the next one comes at once, because each leaving flips the phase bit.
// A writer takes its turn by ticket, sets its bit, which closes the door behind the readers that
// are counted already, and waits until exactly these have left. The phase belongs to the door and
// not to the ticket: a refused attempt uses up a ticket without ever closing the door. Counters
// wrap around; 2^24 threads at once would be needed for that to matter.

#include "standalone/orvubase/core/rwlock.h"

namespace orvu {

namespace {

constexpr uint32_t READER = 0x100;
constexpr uint32_t PRESENT = 0x2;
constexpr uint32_t PHASE = 0x1;
constexpr uint32_t DOOR = PRESENT | PHASE;

uint32_t readers(uint32_t counter) {
    return counter & ~(READER - 1);
}

}  // namespace

void RwLock::lock_shared() noexcept {
    const uint32_t door = state_.readers_in.fetch_add(READER) & DOOR;
    if ((door & PRESENT) == 0) {
        return;
    }
    for (;;) {
        const uint32_t now = state_.readers_in.load();
        if ((now & DOOR) != door) {
            return;
        }
        state_.readers_in.wait(now);
    }
}

bool RwLock::try_lock_shared() noexcept {
    uint32_t now = state_.readers_in.load();
    while ((now & PRESENT) == 0) {
        if (state_.readers_in.compare_exchange_weak(now, now + READER)) {
            return true;
        }
    }
    return false;
}

void RwLock::unlock_shared() noexcept {
    state_.readers_out.fetch_add(READER);
    // The writer shows itself before it looks at `readers_out`, so one of the two sees the other.
    if ((state_.readers_in.load() & PRESENT) != 0) {
        state_.readers_out.notify_one();
    }
}

void RwLock::lock() noexcept {
    const uint32_t ticket = state_.writers_in.fetch_add(1);
    for (uint32_t now = state_.writers_out.load(); now != ticket; now = state_.writers_out.load()) {
        state_.writers_out.wait(now);
    }
    const uint32_t before = readers(state_.readers_in.fetch_or(PRESENT));
    for (uint32_t now = state_.readers_out.load(); now != before; now = state_.readers_out.load()) {
        state_.readers_out.wait(now);
    }
}

bool RwLock::try_lock() noexcept {
    uint32_t ticket = state_.writers_out.load();
    if (!state_.writers_in.compare_exchange_strong(ticket, ticket + 1)) {
        return false;
    }
    // This thread is the one writer now. It closes the door only if nobody is inside, and a reader
    // that comes in between makes the exchange fail.
    uint32_t inside = state_.readers_in.load();
    if (readers(inside) == state_.readers_out.load() &&
        state_.readers_in.compare_exchange_strong(inside, inside | PRESENT)) {
        return true;
    }
    state_.writers_out.fetch_add(1);
    state_.writers_out.notify_all();
    return false;
}

void RwLock::unlock() noexcept {
    state_.readers_in.fetch_xor(DOOR);
    state_.readers_in.notify_all();
    state_.writers_out.fetch_add(1);
    state_.writers_out.notify_all();
}

}  // namespace orvu
