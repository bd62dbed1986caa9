// Threads and the lock word on Windows. The lock word is the SRW lock itself; a zeroed word is a
// free lock.

#include <windows.h>

#include <memory>
#include <new>

#include "orvubase.h"
#include "standalone/orvubase/result.h"

namespace {

struct Start {
    void* (*entry)(void*);
    void* argument;
};

DWORD WINAPI run(LPVOID parameter) {
    const std::unique_ptr<Start> start(static_cast<Start*>(parameter));
    start->entry(start->argument);
    return 0;
}

static_assert(sizeof(orvu_rwlock) == sizeof(SRWLOCK));

PSRWLOCK srw(orvu_rwlock* word) {
    return reinterpret_cast<PSRWLOCK>(word);
}

}  // namespace

int32_t orvu_thread_start(orvu_thread_record* record, void* (*entry)(void*), void* argument) {
    if (record == nullptr || entry == nullptr) {
        return orvu::RESULT_ARGUMENT;
    }
    std::unique_ptr<Start> start(new (std::nothrow) Start{entry, argument});
    if (!start) {
        return orvu::RESULT_MEMORY;
    }
    // Suspended, so that the record is whole before the new thread can look at it.
    DWORD id = 0;
    const HANDLE thread = CreateThread(nullptr, 0, run, start.get(), CREATE_SUSPENDED, &id);
    if (thread == nullptr) {
        return orvu::RESULT_ABSENT;
    }
    (void)start.release();
    record->handle = reinterpret_cast<uintptr_t>(thread);
    record->id = id;
    ResumeThread(thread);
    return orvu::RESULT_OK;
}

int32_t orvu_thread_detach(orvu_thread_record* record) {
    if (record == nullptr || record->handle == 0) {
        return orvu::RESULT_ARGUMENT;
    }
    const BOOL closed = CloseHandle(reinterpret_cast<HANDLE>(record->handle));
    record->handle = 0;
    return closed != 0 ? orvu::RESULT_OK : orvu::RESULT_ABSENT;
}

void orvu_rwlock_init(orvu_rwlock* word) {
    if (word != nullptr) {
        InitializeSRWLock(srw(word));
    }
}

void orvu_rwlock_destroy(orvu_rwlock* word) {
    if (word != nullptr) {
        *word = 0;
    }
}

void orvu_rwlock_exclusive_acquire(orvu_rwlock* word) {
    if (word != nullptr) {
        AcquireSRWLockExclusive(srw(word));
    }
}

void orvu_rwlock_shared_acquire(orvu_rwlock* word) {
    if (word != nullptr) {
        AcquireSRWLockShared(srw(word));
    }
}

int32_t orvu_rwlock_exclusive_try_acquire(orvu_rwlock* word) {
    return word != nullptr && TryAcquireSRWLockExclusive(srw(word)) != 0 ? 0 : 1;
}

int32_t orvu_rwlock_shared_try_acquire(orvu_rwlock* word) {
    return word != nullptr && TryAcquireSRWLockShared(srw(word)) != 0 ? 0 : 1;
}

void orvu_rwlock_exclusive_release(orvu_rwlock* word) {
    if (word != nullptr) {
        ReleaseSRWLockExclusive(srw(word));
    }
}

void orvu_rwlock_shared_release(orvu_rwlock* word) {
    if (word != nullptr) {
        ReleaseSRWLockShared(srw(word));
    }
}
