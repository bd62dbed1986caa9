#include "standalone/orvubase/core/rwlock.h"

#include <windows.h>

namespace orvu {

static_assert(sizeof(RwLockState) == sizeof(SRWLOCK) && alignof(RwLockState) == alignof(SRWLOCK));

namespace {

PSRWLOCK srw(RwLockState& state) {
    return reinterpret_cast<PSRWLOCK>(&state.srw);
}

}  // namespace

void RwLock::lock() noexcept {
    AcquireSRWLockExclusive(srw(state_));
}

bool RwLock::try_lock() noexcept {
    return TryAcquireSRWLockExclusive(srw(state_)) != 0;
}

void RwLock::unlock() noexcept {
    ReleaseSRWLockExclusive(srw(state_));
}

void RwLock::lock_shared() noexcept {
    AcquireSRWLockShared(srw(state_));
}

bool RwLock::try_lock_shared() noexcept {
    return TryAcquireSRWLockShared(srw(state_)) != 0;
}

void RwLock::unlock_shared() noexcept {
    ReleaseSRWLockShared(srw(state_));
}

}  // namespace orvu
