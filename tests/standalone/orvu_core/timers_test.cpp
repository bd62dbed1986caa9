// A timer fires once, not early, and can be stopped from anywhere.
#include "standalone/orvu_core/timers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include "tests/standalone/orvu_core/service_thread.h"

namespace orvu::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST(Timers, a_timer_fires_once_and_not_before_its_delay) {
    struct Fired {
        std::atomic<int> count{0};
        std::atomic<steady_clock::rep> at{0};
    } fired;
    const auto start = steady_clock::now();
    EXPECT_NE(orvu_timer_start(
                  50,
                  [](uintptr_t, void* argument) {
                      auto* const fired = static_cast<Fired*>(argument);
                      fired->at = steady_clock::now().time_since_epoch().count();
                      ++fired->count;
                  },
                  &fired),
              0U);
    ASSERT_TRUE(eventually([&fired] { return fired.count == 1; }));
    EXPECT_GE(steady_clock::time_point(steady_clock::duration(fired.at)) - start, milliseconds(50));
    std::this_thread::sleep_for(milliseconds(100));
    EXPECT_EQ(fired.count, 1);
}

TEST(Timers, timers_fire_in_the_order_in_which_they_are_due) {
    static std::mutex mutex;
    static std::vector<intptr_t> order;
    const auto note = [](uintptr_t, void* argument) {
        const std::lock_guard lock(mutex);
        order.push_back(reinterpret_cast<intptr_t>(argument));
    };
    orvu_timer_start(90, note, reinterpret_cast<void*>(3));
    orvu_timer_start(30, note, reinterpret_cast<void*>(1));
    orvu_timer_start(60, note, reinterpret_cast<void*>(2));
    ASSERT_TRUE(eventually([] {
        const std::lock_guard lock(mutex);
        return order.size() == 3;
    }));
    EXPECT_EQ(order, (std::vector<intptr_t>{1, 2, 3}));
}

TEST(Timers, a_stopped_timer_does_not_fire) {
    std::atomic<int> count{0};
    const orvu_timer timer = orvu_timer_start(
        50, [](uintptr_t, void* argument) { ++*static_cast<std::atomic<int>*>(argument); }, &count);
    EXPECT_EQ(orvu_timer_stop(timer), ORVU_HOST_OK);
    EXPECT_EQ(orvu_timer_stop(timer), ORVU_HOST_NOT_FOUND);
    EXPECT_EQ(orvu_timer_stop(0), ORVU_HOST_NOT_FOUND);
    std::this_thread::sleep_for(milliseconds(150));
    EXPECT_EQ(count, 0);
}

struct Self {
    std::atomic<orvu_timer> timer{0};
    std::atomic<int> count{0};
    std::atomic<int32_t> stopped{-1};
};

TEST(Timers, a_callback_may_stop_itself_and_arm_the_next) {
    static Self self;
    static orvu_timer_cb again = [](uintptr_t, void* argument) {
        auto* const own = static_cast<Self*>(argument);
        own->stopped = orvu_timer_stop(own->timer);
        if (++own->count < 5) {
            own->timer = orvu_timer_start(1, again, own);
        }
    };
    self.timer = orvu_timer_start(50, again, &self);
    ASSERT_TRUE(eventually([] { return self.count == 5; }));
    EXPECT_EQ(self.stopped, ORVU_HOST_NOT_FOUND);
}

TEST(Timers, stopping_never_waits_for_a_running_callback) {
    struct Held {
        std::mutex lock;
        std::atomic<bool> running{false};
        std::atomic<bool> done{false};
    } held;
    std::unique_lock lock(held.lock);
    const orvu_timer timer = orvu_timer_start(
        0,
        [](uintptr_t, void* argument) {
            auto* const held = static_cast<Held*>(argument);
            held->running = true;
            const std::lock_guard inner(held->lock);
            held->done = true;
        },
        &held);
    ASSERT_TRUE(eventually([&held] { return held.running.load(); }));
    EXPECT_EQ(orvu_timer_stop(timer), ORVU_HOST_NOT_FOUND)
        << "with the lock that it waits for held";
    lock.unlock();
    ASSERT_TRUE(eventually([&held] { return held.done.load(); }));
    const std::lock_guard last(held.lock);
}

TEST(Timers, a_stop_that_reports_success_has_prevented_the_callback) {
    static std::atomic<int> fired{0};
    int prevented = 0;
    constexpr int kRounds = 300;
    for (int i = 0; i < kRounds; ++i) {
        const orvu_timer timer = orvu_timer_start(
            static_cast<uint32_t>(i % 2), [](uintptr_t, void*) { ++fired; }, nullptr);
        if (i % 3 == 0) {
            std::this_thread::sleep_for(std::chrono::microseconds(i * 5));
        }
        prevented += orvu_timer_stop(timer) == ORVU_HOST_OK ? 1 : 0;
    }
    ASSERT_TRUE(eventually([&] { return fired + prevented == kRounds; }));
    std::this_thread::sleep_for(milliseconds(20));
    EXPECT_EQ(fired + prevented, kRounds);
}

TEST(Timers, a_timer_without_a_callback_is_refused_and_their_number_bounded) {
    EXPECT_EQ(orvu_timer_start(1, nullptr, nullptr), 0U);
    std::vector<orvu_timer> timers;
    orvu_timer timer = 0;
    const orvu_timer_cb nothing = [](uintptr_t, void*) {
    };
    while ((timer = orvu_timer_start(3600000, nothing, nullptr)) != 0) {
        timers.push_back(timer);
        ASSERT_LE(timers.size(), Timers::kLimit);
    }
    EXPECT_EQ(timers.size(), Timers::kLimit);
    for (const orvu_timer one : timers) {
        EXPECT_EQ(orvu_timer_stop(one), ORVU_HOST_OK);
    }
}

}  // namespace
}  // namespace orvu::test
