#ifndef ORVU_STANDALONE_ORVUBASE_CORE_RWLOCK_H
#define ORVU_STANDALONE_ORVUBASE_CORE_RWLOCK_H

// The host's read/write lock; its operations have the standard's names, so std::shared_lock and
// std::unique_lock hold it. On Windows it is an SRW lock. On Linux it is phase-fair: a reader waits
// for at most one writer, a writer for the readers that were there before it and for the writers
// that asked before it, so that neither side can starve the other; an uncontended shared
// acquisition is one atomic addition. Not recursive on either side: a thread that holds it shared
// and asks for it shared again can wait for ever behind a writer. Any thread may call; release is
// by the thread that acquired. Nothing throws.

#include "rwlock_state.h"

namespace orvu {

class RwLock {
  public:
    RwLock() = default;
    RwLock(const RwLock&) = delete;
    RwLock& operator=(const RwLock&) = delete;

    void lock() noexcept;
    // False at once when the lock is held or asked for by anyone.
    bool try_lock() noexcept;
    void unlock() noexcept;

    void lock_shared() noexcept;
    // False at once when a writer holds or awaits the lock.
    bool try_lock_shared() noexcept;
    void unlock_shared() noexcept;

  private:
    RwLockState state_;
};

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVUBASE_CORE_RWLOCK_H
