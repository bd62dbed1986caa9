#include "plugins/kolvessa/lock.h"

#include "plugins/kolvessa/platform/platform.h"

namespace kolvessa {
namespace {

constexpr uint32_t retry_pause_ms = 100;

}  // namespace

CRwLock::CRwLock() {
    orvu_rwlock_init(&handle_);
}

CRwLock::~CRwLock() {
    orvu_rwlock_destroy(&handle_);
}

bool CRwLock::TimedAcquire(uint32_t timeout_ms, bool shared) {
    const uint32_t start = platform::tick_count();
    do {
        const int32_t refused = shared ? orvu_rwlock_shared_try_acquire(&handle_)
                                       : orvu_rwlock_exclusive_try_acquire(&handle_);
        if (refused == 0) {
            return true;
        }
        platform::sleep_ms(retry_pause_ms);
        // Unsigned subtraction: right across the wrap of the ticks.
    } while (platform::tick_count() - start < timeout_ms);
    return false;
}

// The host's calls are no capability of the analysis, so the bodies that forward to them are left
// out of it; the declarations carry the attributes that callers are checked against.

void CRwLock::AcquireExclusive() NO_THREAD_SAFETY_ANALYSIS {
    orvu_rwlock_exclusive_acquire(&handle_);
}

void CRwLock::AcquireShared() NO_THREAD_SAFETY_ANALYSIS {
    orvu_rwlock_shared_acquire(&handle_);
}

void CRwLock::ReleaseExclusive() NO_THREAD_SAFETY_ANALYSIS {
    orvu_rwlock_exclusive_release(&handle_);
}

void CRwLock::ReleaseShared() NO_THREAD_SAFETY_ANALYSIS {
    orvu_rwlock_shared_release(&handle_);
}

CAutoLock::CAutoLock(CRwLock& lock) : lock_(lock), shared_(false) {
    lock_.AcquireExclusive();
}

CAutoLock::CAutoLock(CRwLock& lock, shared_hold_t) : lock_(lock), shared_(true) {
    lock_.AcquireShared();
}

CAutoLock::~CAutoLock() {
    release();
}

// Which side is held is known at run time only.
void CAutoLock::release() NO_THREAD_SAFETY_ANALYSIS {
    if (!held_) {
        return;
    }
    held_ = false;
    if (shared_) {
        lock_.ReleaseShared();
    } else {
        lock_.ReleaseExclusive();
    }
}

}  // namespace kolvessa
