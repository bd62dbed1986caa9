// On Linux neither side of the lock starves the other.

#include <gtest/gtest.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <thread>
#include <vector>

#include "standalone/orvubase/core/rwlock.h"

namespace {

using std::chrono::milliseconds;

// Threads that run `step` until the object ends.
class Stream {
  public:
    Stream(int threads, const std::function<void()>& step) {
        for (int i = 0; i < threads; ++i) {
            threads_.emplace_back([this, step] {
                while (!end_) {
                    step();
                }
            });
        }
    }
    ~Stream() {
        end_ = true;
        for (std::thread& thread : threads_) {
            thread.join();
        }
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

  private:
    std::atomic<bool> end_{false};
    std::vector<std::thread> threads_;
};

void hold() {
    std::this_thread::sleep_for(milliseconds(1));
}

TEST(RwLockFairness, a_writer_gets_in_while_readers_never_leave_the_lock_free) {
    orvu::RwLock lock;
    std::atomic<int> overlapping{0};
    std::atomic<int> turns{0};
    const Stream readers(4, [&] {
        const std::shared_lock<orvu::RwLock> held(lock);
        ++overlapping;
        hold();
        --overlapping;
        ++turns;
    });
    while (turns < 8) {
        hold();
    }
    for (int i = 0; i < 20; ++i) {
        const std::unique_lock<orvu::RwLock> held(lock);
        EXPECT_EQ(overlapping, 0);
    }
    EXPECT_GT(turns, 8);
}

TEST(RwLockFairness, a_reader_gets_in_while_writers_never_leave_the_lock_free) {
    orvu::RwLock lock;
    std::atomic<int> turns{0};
    const Stream writers(4, [&] {
        const std::unique_lock<orvu::RwLock> held(lock);
        hold();
        ++turns;
    });
    while (turns < 8) {
        hold();
    }
    for (int i = 0; i < 20; ++i) {
        const std::shared_lock<orvu::RwLock> held(lock);
        const int before = turns;
        hold();
        EXPECT_EQ(turns, before);
    }
}

// Runs `step` on a thread of its own and answers when that thread sleeps, which `step` makes it do
// only by waiting for the lock; a sanitizer's own short waits are told apart by looking repeatedly.
std::thread start_and_wait_until_asleep(const std::function<void()>& step) {
    std::atomic<pid_t> id{0};
    std::thread thread([&id, step] {
        id = gettid();
        step();
    });
    while (id == 0) {
        hold();
    }
    const std::string status = "/proc/self/task/" + std::to_string(id) + "/stat";
    for (int asleep = 0; asleep < 3; hold()) {
        std::ifstream file(status);
        std::string text;
        std::getline(file, text);
        const size_t name_end = text.rfind(')');
        asleep = name_end != std::string::npos && text.at(name_end + 2) == 'S' ? asleep + 1 : 0;
    }
    return thread;
}

TEST(RwLockFairness, a_reader_that_came_first_goes_before_the_second_writer) {
    for (int round = 0; round < 20; ++round) {
        orvu::RwLock lock;
        std::atomic<int> order{0};
        int reader_turn = 0;
        int writer_turn = 0;
        lock.lock();
        std::thread reader = start_and_wait_until_asleep([&] {
            lock.lock_shared();
            reader_turn = ++order;
            lock.unlock_shared();
        });
        std::thread writer = start_and_wait_until_asleep([&] {
            lock.lock();
            writer_turn = ++order;
            lock.unlock();
        });
        lock.unlock();
        reader.join();
        writer.join();
        EXPECT_EQ(reader_turn, 1);
        EXPECT_EQ(writer_turn, 2);
    }
}

TEST(RwLockFairness, a_waiting_writer_closes_the_door_for_attempts) {
    orvu::RwLock lock;
    lock.lock_shared();
    std::atomic<bool> done{false};
    std::thread writer([&] {
        lock.lock();
        done = true;
        lock.unlock();
    });
    // True once the writer waits; until then the attempt gets in and leaves again.
    while (lock.try_lock_shared()) {
        lock.unlock_shared();
        std::this_thread::yield();
    }
    EXPECT_FALSE(done);
    lock.unlock_shared();
    writer.join();
    EXPECT_TRUE(done);
    EXPECT_TRUE(lock.try_lock_shared());
    lock.unlock_shared();
}

TEST(RwLockFairness, refused_attempts_between_two_writers_keep_no_reader_asleep) {
    orvu::RwLock lock;
    std::atomic<int> reads{0};
    {
        const Stream readers(2, [&] {
            const std::shared_lock<orvu::RwLock> held(lock);
            ++reads;
        });
        const Stream writers(2, [&] { const std::unique_lock<orvu::RwLock> held(lock); });
        const Stream attempts(2, [&] {
            if (lock.try_lock()) {
                lock.unlock();
            }
        });
        std::this_thread::sleep_for(milliseconds(300));
    }
    EXPECT_GT(reads, 0);
}

}  // namespace
