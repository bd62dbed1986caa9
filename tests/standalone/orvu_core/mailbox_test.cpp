// A callback runs in the thread it is queued for, at once, and a mailbox outlives its thread
// safely.
#include "standalone/orvu_core/mailbox.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>
#include <vector>

#include "standalone/orvu_core/orvu_core_host.h"
#include "tests/standalone/orvu_core/cpu_time.h"
#include "tests/standalone/orvu_core/service_thread.h"

namespace orvu {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST(Mailbox, a_post_wakes_a_waiter_of_ten_seconds_within_milliseconds) {
    std::promise<std::shared_ptr<Mailbox>> made;
    std::promise<steady_clock::time_point> ran;
    std::thread waiter([&] {
        made.set_value(Mailbox::current());
        EXPECT_EQ(Mailbox::current()->wait(deadline_after(10000)), 1U);
    });
    const std::shared_ptr<Mailbox> box = made.get_future().get();
    std::this_thread::sleep_for(milliseconds(50));
    const auto posted = steady_clock::now();
    box->post([&ran] { ran.set_value(steady_clock::now()); }, Mailbox::Kind::ordinary);
    const auto delay = ran.get_future().get() - posted;
    waiter.join();
    // A few hundredths of a millisecond on an idle machine; the bound leaves room for a busy one
    // and still tells a wake from any poll interval.
    EXPECT_LT(delay, milliseconds(250));
}

TEST(Mailbox, tasks_run_in_the_order_of_their_posts) {
    const std::shared_ptr<Mailbox> box = Mailbox::current();
    std::vector<int> seen;
    for (int i = 0; i < 100; ++i) {
        box->post([&seen, i] { seen.push_back(i); }, Mailbox::Kind::ordinary);
    }
    EXPECT_EQ(box->wait(deadline_after(0)), 100U);
    ASSERT_EQ(seen.size(), 100U);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
}

TEST(Mailbox, what_a_task_posts_runs_in_the_next_wait) {
    const std::shared_ptr<Mailbox> box = Mailbox::current();
    int ran = 0;
    box->post(
        [&] {
            box->post([&ran] { ran += 10; }, Mailbox::Kind::ordinary);
            ++ran;
        },
        Mailbox::Kind::ordinary);
    EXPECT_EQ(box->wait(deadline_after(0)), 1U);
    EXPECT_EQ(ran, 1);
    EXPECT_EQ(box->wait(deadline_after(0)), 1U);
    EXPECT_EQ(ran, 11);
}

TEST(Mailbox, a_wait_with_nothing_posted_ends_at_its_deadline) {
    const auto start = steady_clock::now();
    EXPECT_EQ(orvu_host_poll(50), 0U);
    EXPECT_GE(steady_clock::now() - start, milliseconds(45));
}

TEST(Mailbox, poll_wait_takes_seconds_and_less_than_nothing_as_nothing) {
    auto start = steady_clock::now();
    orvu_poll_wait(0);
    orvu_poll_wait(-5);
    EXPECT_LT(steady_clock::now() - start, milliseconds(500));
    start = steady_clock::now();
    orvu_poll_wait(1);
    EXPECT_GE(steady_clock::now() - start, milliseconds(950));
}

TEST(Mailbox, a_wait_within_a_callback_of_the_same_thread_runs_nothing) {
    const std::shared_ptr<Mailbox> box = Mailbox::current();
    uint32_t inner = 99;
    box->post([&] { inner = box->wait(deadline_after(10000)); }, Mailbox::Kind::ordinary);
    box->post([] {}, Mailbox::Kind::ordinary);
    EXPECT_EQ(box->wait(deadline_after(0)), 2U);
    EXPECT_EQ(inner, 0U);
}

TEST(Mailbox, a_full_mailbox_refuses_and_keeps_room_for_control) {
    const std::shared_ptr<Mailbox> box = Mailbox::current();
    for (size_t i = 0; i < Mailbox::kLimit; ++i) {
        ASSERT_EQ(box->post([] {}, Mailbox::Kind::ordinary), Mailbox::Result::posted);
    }
    EXPECT_EQ(box->post([] {}, Mailbox::Kind::ordinary), Mailbox::Result::full);
    for (size_t i = 0; i < Mailbox::kLimit; ++i) {
        ASSERT_EQ(box->post([] {}, Mailbox::Kind::control), Mailbox::Result::posted);
    }
    EXPECT_EQ(box->post([] {}, Mailbox::Kind::control), Mailbox::Result::full);
    EXPECT_EQ(box->wait(deadline_after(0)), 2 * Mailbox::kLimit);
    EXPECT_EQ(box->post([] {}, Mailbox::Kind::ordinary), Mailbox::Result::posted);
    box->wait(deadline_after(0));
}

TEST(Mailbox, a_mailbox_whose_thread_has_ended_refuses_and_drops_what_was_queued) {
    std::shared_ptr<Mailbox> box;
    auto payload = std::make_shared<int>(7);
    std::thread([&box, &payload] {
        box = Mailbox::current();
        box->post([payload] { FAIL() << "ran after its thread's end"; }, Mailbox::Kind::ordinary);
    }).join();
    EXPECT_EQ(payload.use_count(), 1);
    EXPECT_EQ(box->post([] {}, Mailbox::Kind::control), Mailbox::Result::closed);
    EXPECT_FALSE(box->wake());
    EXPECT_EQ(find_mailbox(box->id()), nullptr);
}

TEST(Mailbox, a_wake_ends_the_present_wait_and_else_the_next_one) {
    const uint64_t own = orvu_host_mailbox();
    ASSERT_NE(own, 0U);
    EXPECT_EQ(orvu_host_mailbox(), own);
    const auto start = steady_clock::now();
    EXPECT_EQ(orvu_host_wake(own), ORVU_HOST_OK);
    EXPECT_EQ(orvu_host_poll(10000), 0U);
    std::thread waker([own] {
        std::this_thread::sleep_for(milliseconds(20));
        orvu_host_wake(own);
    });
    EXPECT_EQ(orvu_host_poll(ORVU_HOST_FOREVER), 0U);
    waker.join();
    EXPECT_LT(steady_clock::now() - start, milliseconds(5000));
    EXPECT_EQ(orvu_host_wake(0), ORVU_HOST_NOT_FOUND);
    uint64_t gone = 0;
    std::thread([&gone] { gone = orvu_host_mailbox(); }).join();
    EXPECT_EQ(orvu_host_wake(gone), ORVU_HOST_NOT_FOUND);
}

TEST(Mailbox, posts_from_many_threads_all_run_once) {
    constexpr int kPosters = 4;
    constexpr int kEach = 2000;
    const std::shared_ptr<Mailbox> box = Mailbox::current();
    int ran = 0;
    std::vector<std::thread> posters;
    posters.reserve(kPosters);
    for (int p = 0; p < kPosters; ++p) {
        posters.emplace_back([&box, &ran] {
            for (int i = 0; i < kEach; ++i) {
                while (box->post([&ran] { ++ran; }, Mailbox::Kind::ordinary) ==
                       Mailbox::Result::full) {
                    std::this_thread::yield();
                }
            }
        });
    }
    EXPECT_TRUE([&] {
        const auto end = steady_clock::now() + std::chrono::seconds(20);
        while (ran < kPosters * kEach && steady_clock::now() < end) {
            box->wait(deadline_after(10));
        }
        return ran == kPosters * kEach;
    }());
    for (std::thread& poster : posters) {
        poster.join();
    }
}

TEST(Mailbox, three_idle_poll_loops_cost_less_than_a_thousandth_of_a_core) {
    const test::ServiceThread one([] {});
    const test::ServiceThread two([] {});
    const test::ServiceThread three([] {});
    std::this_thread::sleep_for(milliseconds(100));
    const double before = test::process_cpu_seconds();
    const auto start = steady_clock::now();
    std::this_thread::sleep_for(std::chrono::seconds(2));
    const double spent = test::process_cpu_seconds() - before;
    const double passed = std::chrono::duration<double>(steady_clock::now() - start).count();
    RecordProperty("cpu_share_ppm", static_cast<int>(spent / passed * 1e6));
    EXPECT_LT(spent / passed, 0.001);
}

}  // namespace
}  // namespace orvu
