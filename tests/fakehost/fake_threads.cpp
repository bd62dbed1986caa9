// Threads, polling, sleeping and locks of orvubase.h.

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>

#include "standalone/orvubase/core/rwlock.h"
#include "tests/fakehost/fake_state.h"

namespace fakehost {
namespace {

using Guard = std::lock_guard<std::mutex>;
using Lock = std::unique_lock<std::mutex>;

constexpr auto patience = std::chrono::seconds(60);

// The locks that a thread holds. Both locals are trivial: on Windows the tool chain frees a
// thread's memory before the destructors of its locals run.
struct Holds {
    struct Entry {
        orvu_rwlock* word;
        Held how;
    };
    std::array<Entry, 16> entries;
    size_t count;

    Entry* begin() { return entries.data(); }
    Entry* end() { return entries.data() + count; }
    Entry* find(const orvu_rwlock* word) {
        return std::find_if(begin(), end(), [word](const Entry& e) { return e.word == word; });
    }
};

thread_local const std::shared_ptr<Thread>* current_thread = nullptr;
thread_local Holds holds;

orvu::RwLock* lock_of(orvu_rwlock* word, const char* by) {
    if (word != nullptr && *word != 0) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the contract's word holds it
        return reinterpret_cast<orvu::RwLock*>(*word);
    }
    const Guard guard(state().mutex);
    state().complain(std::string(by) + " of a lock that is not set up");
    return nullptr;
}

// Whether this thread may ask for the lock: holding it already, it could wait for itself.
void expect_free(orvu_rwlock* word, const char* by) {
    if (holds.find(word) != holds.end()) {
        const Guard guard(state().mutex);
        state().complain(std::string(by) + " of a lock that the thread holds");
    }
}

void hold(orvu_rwlock* word, Held how) {
    const OwnWork own;
    if (holds.count == holds.entries.size()) {
        const Guard guard(state().mutex);
        state().complain("more locks held by one thread than the fake host can count");
        return;
    }
    *holds.end() = {word, how};
    ++holds.count;
    ++state().locks_held;
}

// Whether the release may go through: only by the thread that holds the lock in this way.
bool let_go(orvu_rwlock* word, Held how, const char* by) {
    Holds::Entry* const found = holds.find(word);
    if (found == holds.end() || found->how != how) {
        const Guard guard(state().mutex);
        state().complain(std::string(by) + " of a lock that the thread does not hold so");
        return false;
    }
    *found = *(holds.end() - 1);
    --holds.count;
    --state().locks_held;
    return true;
}

std::shared_ptr<Thread> thread_at(const FakeHost::State& s, size_t index) {
    return index < s.now.threads.size() ? s.now.threads[index] : nullptr;
}

}  // namespace

Held held_now() {
    Held strongest = Held::nothing;
    for (const auto& [word, how] : holds) {
        strongest = std::max(strongest, how);
    }
    return strongest;
}

void FakeHost::start_threads() {
    const Guard guard(state_->mutex);
    state_->now.start_threads = true;
}

size_t FakeHost::thread_count() const {
    const Guard guard(state_->mutex);
    return state_->now.threads.size();
}

void* (*FakeHost::thread_entry(size_t index) const)(void*) {
    const Guard guard(state_->mutex);
    const auto thread = thread_at(*state_, index);
    return thread == nullptr ? nullptr : thread->entry;
}

bool FakeHost::wait_polling(size_t index) {
    Lock lock(state_->mutex);
    const auto thread = thread_at(*state_, index);
    return thread != nullptr &&
           thread->changed.wait_for(lock, patience, [&] { return thread->polling; });
}

bool FakeHost::wait_ended(size_t index) {
    Lock lock(state_->mutex);
    const auto thread = thread_at(*state_, index);
    return thread != nullptr &&
           thread->changed.wait_for(lock, patience, [&] { return thread->ended; });
}

void FakeHost::run_on(size_t index, std::function<void()> work) {
    Lock lock(state_->mutex);
    const auto thread = thread_at(*state_, index);
    if (thread == nullptr) {
        state_->complain("no such thread to run on");
        return;
    }
    const auto done = std::make_shared<bool>(false);
    thread->mailbox.emplace_back([this, work = std::move(work), done, thread] {
        work();
        const Guard guard(state_->mutex);
        *done = true;
        thread->changed.notify_all();
    });
    thread->changed.notify_all();
    if (!thread->changed.wait_for(lock, patience, [&] { return *done; })) {
        state_->complain("work that was posted to a thread was never done");
    }
}

}  // namespace fakehost

using fakehost::Held;
using fakehost::note;
using fakehost::note_quiet;
using fakehost::state;
using Guard = std::lock_guard<std::mutex>;
using Lock = std::unique_lock<std::mutex>;

void orvu_poll_wait(int32_t interval) {
    if (fakehost::current_thread == nullptr) {
        note("orvu_poll_wait", std::to_string(interval));
        return;
    }
    note_quiet("orvu_poll_wait");
    const auto thread = *fakehost::current_thread;
    std::function<void()> work;
    {
        Lock lock(state().mutex);
        if (interval != 10) {
            state().complain("a poll interval that is not 10");
        }
        thread->polling = true;
        thread->changed.notify_all();
        thread->changed.wait(lock, [&] { return !thread->mailbox.empty(); });
        work = std::move(thread->mailbox.front());
        thread->mailbox.pop_front();
    }
    work();
}

void orvu_msleep(uint32_t milliseconds) {
    note("orvu_msleep", std::to_string(milliseconds));
}

int32_t orvu_thread_start(orvu_thread_record* record, void* (*entry)(void*), void* argument) {
    const bool zeroed = record != nullptr && record->handle == 0 && record->id == 0;
    const int64_t fault = note("orvu_thread_start", argument == nullptr ? "null" : "an argument");
    auto thread = std::make_shared<fakehost::Thread>();
    bool start = false;
    {
        const Guard guard(state().mutex);
        if (!zeroed || entry == nullptr) {
            state().complain("a thread without a zeroed record or an entry");
            return 1;
        }
        if (fault != 0) {
            return static_cast<int32_t>(fault);
        }
        thread->entry = entry;
        thread->argument = argument;
        thread->id = 1001 + state().now.threads.size();
        state().now.threads.push_back(thread);
        record->handle = state().next_handle++;
        record->id = thread->id;
        start = state().now.start_threads;
    }
    if (start) {
        std::thread([thread] {
            fakehost::current_thread = &thread;
            thread->entry(thread->argument);
            const Guard guard(state().mutex);
            thread->ended = true;
            thread->changed.notify_all();
        }).detach();
    }
    return 0;
}

int32_t orvu_thread_detach(orvu_thread_record* record) {
    const int64_t fault = note("orvu_thread_detach");
    const Guard guard(state().mutex);
    for (const auto& thread : state().now.threads) {
        if (record != nullptr && thread->id == record->id && !thread->detached) {
            thread->detached = true;
            return static_cast<int32_t>(fault);
        }
    }
    state().complain("a detach of no running thread, or a second one");
    return 1;
}

void orvu_rwlock_init(orvu_rwlock* word) {
    note_quiet("orvu_rwlock_init");
    if (word == nullptr || *word != 0) {
        const Guard guard(state().mutex);
        state().complain("orvu_rwlock_init on a word that is not zero");
        return;
    }
    *word = reinterpret_cast<uintptr_t>(new orvu::RwLock);
}

void orvu_rwlock_destroy(orvu_rwlock* word) {
    note_quiet("orvu_rwlock_destroy");
    fakehost::expect_free(word, "orvu_rwlock_destroy");
    delete fakehost::lock_of(word, "orvu_rwlock_destroy");
    *word = 0;
}

void orvu_rwlock_exclusive_acquire(orvu_rwlock* word) {
    note_quiet("orvu_rwlock_exclusive_acquire");
    fakehost::expect_free(word, "orvu_rwlock_exclusive_acquire");
    fakehost::lock_of(word, "orvu_rwlock_exclusive_acquire")->lock();
    fakehost::hold(word, Held::exclusive);
}

void orvu_rwlock_shared_acquire(orvu_rwlock* word) {
    note_quiet("orvu_rwlock_shared_acquire");
    fakehost::expect_free(word, "orvu_rwlock_shared_acquire");
    fakehost::lock_of(word, "orvu_rwlock_shared_acquire")->lock_shared();
    fakehost::hold(word, Held::shared);
}

int32_t orvu_rwlock_exclusive_try_acquire(orvu_rwlock* word) {
    if (const int64_t fault = note_quiet("orvu_rwlock_exclusive_try_acquire"); fault != 0) {
        return static_cast<int32_t>(fault);
    }
    if (!fakehost::lock_of(word, "orvu_rwlock_exclusive_try_acquire")->try_lock()) {
        return 1;
    }
    fakehost::hold(word, Held::exclusive);
    return 0;
}

int32_t orvu_rwlock_shared_try_acquire(orvu_rwlock* word) {
    if (const int64_t fault = note_quiet("orvu_rwlock_shared_try_acquire"); fault != 0) {
        return static_cast<int32_t>(fault);
    }
    if (!fakehost::lock_of(word, "orvu_rwlock_shared_try_acquire")->try_lock_shared()) {
        return 1;
    }
    fakehost::hold(word, Held::shared);
    return 0;
}

void orvu_rwlock_exclusive_release(orvu_rwlock* word) {
    note_quiet("orvu_rwlock_exclusive_release");
    if (fakehost::let_go(word, Held::exclusive, "orvu_rwlock_exclusive_release")) {
        fakehost::lock_of(word, "orvu_rwlock_exclusive_release")->unlock();
    }
}

void orvu_rwlock_shared_release(orvu_rwlock* word) {
    note_quiet("orvu_rwlock_shared_release");
    if (fakehost::let_go(word, Held::shared, "orvu_rwlock_shared_release")) {
        fakehost::lock_of(word, "orvu_rwlock_shared_release")->unlock_shared();
    }
}
