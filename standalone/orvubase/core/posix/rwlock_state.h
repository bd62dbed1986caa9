#ifndef ORVU_STANDALONE_ORVUBASE_CORE_POSIX_RWLOCK_STATE_H
#define ORVU_STANDALONE_ORVUBASE_CORE_POSIX_RWLOCK_STATE_H

// What orvu::RwLock keeps on Linux; see rwlock.cpp beside this file for the meaning of the
// counters.

#include <atomic>
#include <cstdint>

namespace orvu {

struct RwLockState {
    std::atomic<uint32_t> readers_in{
        0};  // readers that came, in steps of 0x100; low bits: the door
    std::atomic<uint32_t> readers_out{0};  // readers that left, in the same steps
    std::atomic<uint32_t> writers_in{0};   // tickets given to writers
    std::atomic<uint32_t> writers_out{0};  // the ticket that is served
};

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVUBASE_CORE_POSIX_RWLOCK_STATE_H
