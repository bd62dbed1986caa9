#ifndef KOLVESSA_LOCK_H
#define KOLVESSA_LOCK_H

// The read/write lock that guards the rules, and its guard. Any thread may call anything here; the
// lock isn't recursive, and each hold is given back by the thread that took it.

#include <cstdint>

#include "orvubase.h"
#include "plugins/kolvessa/thread_annotations.h"

namespace kolvessa {

// The lock's five operations, in the order of their slots; nothing may be declared between them.
class CAPABILITY("rwlock") CLock {
  public:
    // True when the lock was obtained within `timeout_ms`. The kind of hold is decided at run time,
    // which the analysis can't follow: a caller who got true names its hold with AssertHeld or
    // AssertHeldShared of CRwLock.
    virtual bool TimedAcquire(uint32_t timeout_ms, bool shared) = 0;
    virtual void AcquireExclusive() ACQUIRE() = 0;
    virtual void AcquireShared() ACQUIRE_SHARED() = 0;
    virtual void ReleaseExclusive() RELEASE() = 0;
    virtual void ReleaseShared() RELEASE_SHARED() = 0;

  protected:
    CLock() = default;
    ~CLock() = default;
};

// The host's read/write lock.
class CAPABILITY("rwlock") CRwLock : public CLock {
  public:
    CRwLock();
    CRwLock(const CRwLock&) = delete;
    CRwLock& operator=(const CRwLock&) = delete;

    // Tries at least once, then again every 100 ms for as long as less than `timeout_ms` have
    // passed; a refusal is always followed by its pause, the last one too.
    bool TimedAcquire(uint32_t timeout_ms, bool shared) override;
    void AcquireExclusive() override ACQUIRE();
    void AcquireShared() override ACQUIRE_SHARED();
    void ReleaseExclusive() override RELEASE();
    void ReleaseShared() override RELEASE_SHARED();
    virtual ~CRwLock();

    // Tell the analysis of a hold that it could not see being taken. They check nothing.
    void AssertHeld() const ASSERT_CAPABILITY(this) {}
    void AssertHeldShared() const ASSERT_SHARED_CAPABILITY(this) {}

  private:
    orvu_rwlock handle_ = 0;
};

struct shared_hold_t {
    explicit shared_hold_t() = default;
};
inline constexpr shared_hold_t shared_hold{};

// Holds a lock from here to the end of the scope, left by an exception or not, or to `release`.
// CAutoLock guard(lock) holds it exclusive, CAutoLock guard(lock, shared_hold) shared.
class SCOPED_CAPABILITY CAutoLock {
  public:
    explicit CAutoLock(CRwLock& lock) ACQUIRE(lock);
    CAutoLock(CRwLock& lock, shared_hold_t) ACQUIRE_SHARED(lock);
    ~CAutoLock() RELEASE_GENERIC();
    CAutoLock(const CAutoLock&) = delete;
    CAutoLock& operator=(const CAutoLock&) = delete;

    // Gives the lock back early; further calls and the end of the scope then do nothing.
    void release() RELEASE_GENERIC();

  private:
    CRwLock& lock_;
    bool held_ = true;
    const bool shared_;
};

}  // namespace kolvessa

#endif  // KOLVESSA_LOCK_H
