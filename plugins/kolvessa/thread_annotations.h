#ifndef KOLVESSA_THREAD_ANNOTATIONS_H
#define KOLVESSA_THREAD_ANNOTATIONS_H

// Who holds what while, written so that clang checks it (-Wthread-safety); nothing to other
// compilers. Beside the attributes stands the one plain mutex of the plug-in, annotated.

#include <mutex>

#if defined(__clang__)
#define KOLVESSA_ATTRIBUTE(x) __attribute__((x))
#else
#define KOLVESSA_ATTRIBUTE(x)
#endif

// Types: a lock, and a guard on the stack that holds one.
#define CAPABILITY(name) KOLVESSA_ATTRIBUTE(capability(name))
#define SCOPED_CAPABILITY KOLVESSA_ATTRIBUTE(scoped_lockable)

// Data: read under the shared side at least, written under the exclusive side.
#define GUARDED_BY(lock) KOLVESSA_ATTRIBUTE(guarded_by(lock))
#define PT_GUARDED_BY(lock) KOLVESSA_ATTRIBUTE(pt_guarded_by(lock))

// Functions: what the caller holds already, and what it must not hold.
#define REQUIRES(...) KOLVESSA_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define REQUIRES_SHARED(...) KOLVESSA_ATTRIBUTE(requires_shared_capability(__VA_ARGS__))
#define EXCLUDES(...) KOLVESSA_ATTRIBUTE(locks_excluded(__VA_ARGS__))

// Functions: what they take and give back.
#define ACQUIRE(...) KOLVESSA_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define ACQUIRE_SHARED(...) KOLVESSA_ATTRIBUTE(acquire_shared_capability(__VA_ARGS__))
#define RELEASE(...) KOLVESSA_ATTRIBUTE(release_capability(__VA_ARGS__))
#define RELEASE_SHARED(...) KOLVESSA_ATTRIBUTE(release_shared_capability(__VA_ARGS__))
#define RELEASE_GENERIC(...) KOLVESSA_ATTRIBUTE(release_generic_capability(__VA_ARGS__))
#define ASSERT_CAPABILITY(lock) KOLVESSA_ATTRIBUTE(assert_capability(lock))
#define ASSERT_SHARED_CAPABILITY(lock) KOLVESSA_ATTRIBUTE(assert_shared_capability(lock))
#define RETURN_CAPABILITY(lock) KOLVESSA_ATTRIBUTE(lock_returned(lock))

// For the bodies of locks themselves, and for what the analysis can't express; say why beside it.
#define NO_THREAD_SAFETY_ANALYSIS KOLVESSA_ATTRIBUTE(no_thread_safety_analysis)

namespace kolvessa {

// std::mutex that the analysis knows. For short holds only, with no call to the host inside.
class CAPABILITY("mutex") Mutex {
  public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() ACQUIRE() NO_THREAD_SAFETY_ANALYSIS { mutex_.lock(); }
    void unlock() RELEASE() NO_THREAD_SAFETY_ANALYSIS { mutex_.unlock(); }

  private:
    std::mutex mutex_;
};

// Holds a Mutex from here to the end of the scope.
class SCOPED_CAPABILITY MutexLock {
  public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    ~MutexLock() RELEASE() { mutex_.unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

  private:
    Mutex& mutex_;
};

}  // namespace kolvessa

#endif  // KOLVESSA_THREAD_ANNOTATIONS_H
