// Threads and the lock word on Linux. The lock word holds the address of a lock object, made by
// orvu_rwlock_init or, for a word that is only zeroed, by the first call on it.

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <new>

#include "orvubase.h"
#include "standalone/orvubase/core/rwlock.h"
#include "standalone/orvubase/result.h"

namespace {

// What the starter hands over; the two hold it together, because either may be the last to touch
// it.
struct Start {
    void* (*entry)(void*);
    void* argument;
    orvu_thread_record* record;
    std::atomic<int32_t> filled{0};
};

void* run(void* parameter) {
    std::unique_ptr<std::shared_ptr<Start>> held(static_cast<std::shared_ptr<Start>*>(parameter));
    Start& start = **held;
    auto* const entry = start.entry;
    void* const argument = start.argument;
    start.record->handle = static_cast<uint64_t>(pthread_self());
    start.record->id = static_cast<uint64_t>(gettid());
    start.filled.store(1);
    start.filled.notify_one();
    // The entry may never return.
    held.reset();
    return entry(argument);
}

static_assert(sizeof(pthread_t) == sizeof(uint64_t));

orvu::RwLock* as_lock(orvu_rwlock word) {
    // The contract's word is an integer.
    return reinterpret_cast<orvu::RwLock*>(word);  // NOLINT(performance-no-int-to-ptr)
}

orvu::RwLock* lock_of(orvu_rwlock* word) {
    if (word == nullptr) {
        return nullptr;
    }
    const std::atomic_ref<orvu_rwlock> shared(*word);
    orvu_rwlock value = shared.load(std::memory_order_acquire);
    if (value == 0) {
        std::unique_ptr<orvu::RwLock> made(new (std::nothrow) orvu::RwLock);
        if (!made) {
            // A caller that went on without its lock would corrupt what the lock guards.
            std::abort();
        }
        if (shared.compare_exchange_strong(value, reinterpret_cast<orvu_rwlock>(made.get()))) {
            return made.release();
        }
    }
    return as_lock(value);
}

}  // namespace

int32_t orvu_thread_start(orvu_thread_record* record, void* (*entry)(void*), void* argument) {
    if (record == nullptr || entry == nullptr) {
        return orvu::RESULT_ARGUMENT;
    }
    return orvu::guarded<int32_t>(orvu::RESULT_MEMORY, [&]() -> int32_t {
        const auto start = std::make_shared<Start>();
        start->entry = entry;
        start->argument = argument;
        start->record = record;
        auto* const handed_over = new std::shared_ptr<Start>(start);
        pthread_t thread{};
        if (pthread_create(&thread, nullptr, run, handed_over) != 0) {
            delete handed_over;
            return orvu::RESULT_ABSENT;
        }
        start->filled.wait(0);
        return orvu::RESULT_OK;
    });
}

int32_t orvu_thread_detach(orvu_thread_record* record) {
    if (record == nullptr || record->handle == 0) {
        return orvu::RESULT_ARGUMENT;
    }
    const int failed = pthread_detach(static_cast<pthread_t>(record->handle));
    record->handle = 0;
    return failed == 0 ? orvu::RESULT_OK : orvu::RESULT_ABSENT;
}

void orvu_rwlock_init(orvu_rwlock* word) {
    if (word != nullptr) {
        *word = 0;
        (void)lock_of(word);
    }
}

void orvu_rwlock_destroy(orvu_rwlock* word) {
    if (word != nullptr) {
        delete as_lock(*word);
        *word = 0;
    }
}

void orvu_rwlock_exclusive_acquire(orvu_rwlock* word) {
    if (orvu::RwLock* lock = lock_of(word)) {
        lock->lock();
    }
}

void orvu_rwlock_shared_acquire(orvu_rwlock* word) {
    if (orvu::RwLock* lock = lock_of(word)) {
        lock->lock_shared();
    }
}

int32_t orvu_rwlock_exclusive_try_acquire(orvu_rwlock* word) {
    orvu::RwLock* lock = lock_of(word);
    return lock != nullptr && lock->try_lock() ? 0 : 1;
}

int32_t orvu_rwlock_shared_try_acquire(orvu_rwlock* word) {
    orvu::RwLock* lock = lock_of(word);
    return lock != nullptr && lock->try_lock_shared() ? 0 : 1;
}

void orvu_rwlock_exclusive_release(orvu_rwlock* word) {
    if (orvu::RwLock* lock = lock_of(word)) {
        lock->unlock();
    }
}

void orvu_rwlock_shared_release(orvu_rwlock* word) {
    if (orvu::RwLock* lock = lock_of(word)) {
        lock->unlock_shared();
    }
}
