// The read/write lock lets in one writer or any number of readers.

#include "standalone/orvubase/core/rwlock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <shared_mutex>
#include <thread>
#include <vector>

namespace {

TEST(RwLock, writers_exclude_each_other_and_readers_by_every_way_in) {
    orvu::RwLock lock;
    // Plain variables: the thread sanitizer sees every access that the lock does not order.
    int64_t first = 0;
    int64_t second = 0;
    std::atomic<int64_t> written{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 4000; ++n) {
                if (n % 4 == 0 ? lock.try_lock() : (lock.lock(), true)) {
                    ++first;
                    ++second;
                    ++written;
                    lock.unlock();
                }
            }
        });
        threads.emplace_back([&] {
            for (int n = 0; n < 8000; ++n) {
                if (n % 4 == 0 ? lock.try_lock_shared() : (lock.lock_shared(), true)) {
                    EXPECT_EQ(first, second);
                    lock.unlock_shared();
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(first, written);
    EXPECT_EQ(second, written);
    EXPECT_GE(written, 2 * 3000);
}

TEST(RwLock, a_refused_attempt_leaves_the_lock_as_it_was) {
    orvu::RwLock lock;
    for (int i = 0; i < 5; ++i) {
        {
            const std::shared_lock<orvu::RwLock> reader(lock);
            EXPECT_FALSE(lock.try_lock());
        }
        const std::unique_lock<orvu::RwLock> writer(lock);
        EXPECT_FALSE(lock.try_lock_shared());
        EXPECT_FALSE(lock.try_lock());
    }
    EXPECT_TRUE(lock.try_lock());
    lock.unlock();
}

}  // namespace
