// Threads, the lock word and the log under several threads at once.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "orvubase.h"
#include "standalone/orvubase/log_file.h"
#include "standalone/orvubase/orvubase_host.h"
#include "tests/standalone/orvubase/own_thread_id.h"
#include "tests/standalone/orvubase/scratch.h"

namespace {

struct Seen {
    orvu_thread_record record{};
    uint64_t handle = 0;
    uint64_t id = 0;
    uint64_t own_id = 0;
    std::atomic<bool> done{false};
};

void* look(void* argument) {
    auto* seen = static_cast<Seen*>(argument);
    seen->handle = seen->record.handle;
    seen->id = seen->record.id;
    seen->own_id = own_thread_id();
    // The last use of the record, which ends with the test.
    seen->done = true;
    return nullptr;
}

void wait_for(const Seen& seen) {
    while (!seen.done) {
        orvu_msleep(1);
    }
}

TEST(Threads, the_record_is_whole_before_the_thread_begins) {
    Seen seen;
    ASSERT_EQ(orvu_thread_start(&seen.record, look, &seen), 0);
    wait_for(seen);
    EXPECT_NE(seen.record.handle, 0U);
    EXPECT_EQ(seen.handle, seen.record.handle);
    EXPECT_EQ(seen.id, seen.record.id);
    EXPECT_EQ(seen.own_id, seen.record.id);
    EXPECT_NE(seen.own_id, own_thread_id());
    EXPECT_EQ(orvu_thread_detach(&seen.record), 0);
}

TEST(Threads, a_detached_record_keeps_its_id_and_is_not_detached_twice) {
    Seen seen;
    ASSERT_EQ(orvu_thread_start(&seen.record, look, &seen), 0);
    wait_for(seen);
    EXPECT_EQ(orvu_thread_detach(&seen.record), 0);
    EXPECT_EQ(seen.record.handle, 0U);
    EXPECT_EQ(seen.record.id, seen.own_id);
    EXPECT_EQ(orvu_thread_detach(&seen.record), 1);
}

TEST(Threads, null_arguments_start_nothing) {
    orvu_thread_record record{};
    EXPECT_EQ(orvu_thread_start(nullptr, look, nullptr), 1);
    EXPECT_EQ(orvu_thread_start(&record, nullptr, nullptr), 1);
    EXPECT_EQ(record.handle, 0U);
    EXPECT_EQ(orvu_thread_detach(nullptr), 1);
    EXPECT_EQ(orvu_thread_detach(&record), 1);
}

class LockWord : public testing::Test {
  protected:
    LockWord() { orvu_rwlock_init(&word_); }
    ~LockWord() override { orvu_rwlock_destroy(&word_); }

    int32_t try_elsewhere(int32_t (*attempt)(orvu_rwlock*), void (*release)(orvu_rwlock*)) {
        int32_t result = -1;
        std::thread([&] {
            result = attempt(&word_);
            if (result == 0) {
                release(&word_);
            }
        }).join();
        return result;
    }
    int32_t try_shared() {
        return try_elsewhere(orvu_rwlock_shared_try_acquire, orvu_rwlock_shared_release);
    }
    int32_t try_exclusive() {
        return try_elsewhere(orvu_rwlock_exclusive_try_acquire, orvu_rwlock_exclusive_release);
    }

    orvu_rwlock word_ = 0;
};

TEST_F(LockWord, held_shared_it_can_be_had_shared_but_not_exclusive) {
    orvu_rwlock_shared_acquire(&word_);
    EXPECT_EQ(try_shared(), 0);
    EXPECT_EQ(try_exclusive(), 1);
    orvu_rwlock_shared_release(&word_);
    EXPECT_EQ(try_exclusive(), 0);
}

TEST_F(LockWord, held_exclusive_it_can_be_had_by_nobody) {
    orvu_rwlock_exclusive_acquire(&word_);
    EXPECT_EQ(try_shared(), 1);
    EXPECT_EQ(try_exclusive(), 1);
    orvu_rwlock_exclusive_release(&word_);
    EXPECT_EQ(try_shared(), 0);
    EXPECT_EQ(try_exclusive(), 0);
}

TEST_F(LockWord, many_threads_hold_it_shared_at_once) {
    constexpr int THREADS = 4;
    std::atomic<int> inside{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i) {
        threads.emplace_back([&] {
            orvu_rwlock_shared_acquire(&word_);
            ++inside;
            while (inside < THREADS) {
                std::this_thread::yield();
            }
            orvu_rwlock_shared_release(&word_);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(inside, THREADS);
}

TEST_F(LockWord, a_zeroed_word_is_a_free_lock_and_destroying_zeroes_it) {
    orvu_rwlock bare = 0;
    EXPECT_EQ(orvu_rwlock_exclusive_try_acquire(&bare), 0);
    orvu_rwlock_exclusive_release(&bare);
    orvu_rwlock_destroy(&bare);
    EXPECT_EQ(bare, 0U);
}

TEST(LockNull, a_null_word_is_no_lock) {
    orvu_rwlock_init(nullptr);
    orvu_rwlock_exclusive_acquire(nullptr);
    orvu_rwlock_exclusive_release(nullptr);
    orvu_rwlock_shared_acquire(nullptr);
    orvu_rwlock_shared_release(nullptr);
    EXPECT_EQ(orvu_rwlock_exclusive_try_acquire(nullptr), 1);
    EXPECT_EQ(orvu_rwlock_shared_try_acquire(nullptr), 1);
    orvu_rwlock_destroy(nullptr);
}

TEST(Concurrent, additions_from_several_threads_all_count) {
    volatile int64_t value = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 20000; ++n) {
                orvu_atomic64_add_and_fetch(&value, n % 2 == 0 ? 3 : -1);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(orvu_atomic64_add_and_fetch(&value, 0), 80000);
}

TEST(Concurrent, every_line_of_several_threads_is_in_the_file_or_counted) {
    const Scratch scratch;
    ASSERT_EQ(orvu_host_set_home(scratch.native("home").c_str()), 0);
    constexpr int THREADS = 4;
    constexpr int LINES = 10000;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([&, thread] {
            // All of them find no log and set it up, as a plug-in's threads do.
            if (orvu_log_is_regestered() == 0) {
                EXPECT_EQ(orvu_autolog_init(scratch.framework("logs").c_str(), 5), 0);
            }
            for (int line = 0; line < LINES; ++line) {
                orvu_log_output(2, "%d %d %S\n", thread, line, ORVU_TEXT("text"));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    orvu_host_log_flush();
    const std::string text = scratch.read(std::string("logs/") + orvu::LOG_FILE_NAME);
    uint64_t lines = 0;
    std::vector<int> last(THREADS, -1);
    for (size_t start = 0; start < text.size(); ++lines) {
        const size_t end = text.find('\n', start);
        ASSERT_NE(end, std::string::npos);
        const std::string line = text.substr(start, end - start);
        ASSERT_TRUE(line.ends_with(" text")) << line;
        const int thread = line[0] - '0';
        const int number = std::stoi(line.substr(2));
        EXPECT_GT(number, last.at(static_cast<size_t>(thread)));
        last[static_cast<size_t>(thread)] = number;
        start = end + 1;
    }
    EXPECT_EQ(lines + orvu_host_log_dropped(), static_cast<uint64_t>(THREADS) * LINES);
    EXPECT_GT(lines, 0U);
}

}  // namespace
