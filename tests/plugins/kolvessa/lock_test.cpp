// The lock forwards to the host's, its timed form polls, and the guard gives back what it took.

#include "plugins/kolvessa/lock.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "plugins/kolvessa/platform/platform.h"
#include "tests/fakehost/host_test.h"

namespace kolvessa {
namespace {

class Lock : public fakehost::HostTest {
  protected:
    void SetUp() override {
        HostTest::SetUp();
        host.record_everything();
    }
    // The lock calls made since the last question.
    std::vector<std::string> calls() {
        std::vector<std::string> names = host.call_names();
        host.forget_calls();
        return names;
    }
    using Names = std::vector<std::string>;
};

TEST_F(Lock, the_host_lock_lives_as_long_as_the_object) {
    {
        const CRwLock lock;
        EXPECT_EQ(calls(), Names{"orvu_rwlock_init"});
    }
    EXPECT_EQ(calls(), Names{"orvu_rwlock_destroy"});
}

TEST_F(Lock, each_operation_is_one_call_of_the_host) {
    CRwLock lock;
    calls();
    lock.AcquireExclusive();
    lock.ReleaseExclusive();
    lock.AcquireShared();
    lock.ReleaseShared();
    EXPECT_EQ(calls(), (Names{"orvu_rwlock_exclusive_acquire", "orvu_rwlock_exclusive_release",
                              "orvu_rwlock_shared_acquire", "orvu_rwlock_shared_release"}));
}

// What the analysis can't follow in a timed acquisition is spelled out by the caller.
void release_exclusive(CRwLock& lock) {
    lock.AssertHeld();
    lock.ReleaseExclusive();
}
void release_shared(CRwLock& lock) {
    lock.AssertHeldShared();
    lock.ReleaseShared();
}

TEST_F(Lock, a_timed_acquisition_that_succeeds_at_once_does_not_sleep) {
    CRwLock lock;
    calls();
    ASSERT_TRUE(lock.TimedAcquire(0, false));
    release_exclusive(lock);
    ASSERT_TRUE(lock.TimedAcquire(0, true));
    release_shared(lock);
    EXPECT_EQ(calls(), (Names{"orvu_rwlock_exclusive_try_acquire", "orvu_rwlock_exclusive_release",
                              "orvu_rwlock_shared_try_acquire", "orvu_rwlock_shared_release"}));
}

TEST_F(Lock, a_time_out_of_0_tries_once_and_when_refused_sleeps_100_ms) {
    CRwLock lock;
    host.fail("orvu_rwlock_exclusive_try_acquire", 1);
    host.fail("orvu_rwlock_shared_try_acquire", 1);
    for (const bool shared : {false, true}) {
        calls();
        const uint32_t start = platform::tick_count();
        EXPECT_FALSE(lock.TimedAcquire(0, shared));
        // The ticks of some systems step 16 ms.
        EXPECT_GE(platform::tick_count() - start, 84U);
        EXPECT_EQ(calls(), Names{shared ? "orvu_rwlock_shared_try_acquire"
                                        : "orvu_rwlock_exclusive_try_acquire"});
    }
}

TEST_F(Lock, a_timed_acquisition_tries_until_it_is_let_in) {
    CRwLock lock;
    calls();
    host.fail("orvu_rwlock_exclusive_try_acquire", 1, 1);
    host.fail("orvu_rwlock_exclusive_try_acquire", 1, 2);
    const uint32_t start = platform::tick_count();
    ASSERT_TRUE(lock.TimedAcquire(60000, false));
    EXPECT_GE(platform::tick_count() - start, 180U);
    EXPECT_EQ(calls(), Names(3, "orvu_rwlock_exclusive_try_acquire"));
    release_exclusive(lock);
}

TEST_F(Lock, a_timed_acquisition_gives_up_after_its_time) {
    CRwLock lock;
    calls();
    host.fail("orvu_rwlock_shared_try_acquire", 1);
    EXPECT_FALSE(lock.TimedAcquire(150, true));
    EXPECT_EQ(calls().size(), 2U);
}

TEST_F(Lock, a_guard_holds_the_exclusive_side_to_the_end_of_its_scope) {
    CRwLock lock;
    calls();
    {
        const CAutoLock guard(lock);
        EXPECT_EQ(calls(), Names{"orvu_rwlock_exclusive_acquire"});
    }
    EXPECT_EQ(calls(), Names{"orvu_rwlock_exclusive_release"});
}

TEST_F(Lock, a_shared_guard_holds_the_shared_side_to_the_end_of_its_scope) {
    CRwLock lock;
    calls();
    {
        const CAutoLock guard(lock, shared_hold);
        EXPECT_EQ(calls(), Names{"orvu_rwlock_shared_acquire"});
    }
    EXPECT_EQ(calls(), Names{"orvu_rwlock_shared_release"});
}

TEST_F(Lock, a_guard_releases_on_an_exception) {
    CRwLock lock;
    calls();
    const auto leave = [&lock](bool shared) {
        if (shared) {
            const CAutoLock guard(lock, shared_hold);
            throw std::runtime_error("out");
        }
        const CAutoLock guard(lock);
        throw std::runtime_error("out");
    };
    EXPECT_THROW(leave(false), std::runtime_error);
    EXPECT_THROW(leave(true), std::runtime_error);
    EXPECT_EQ(calls(), (Names{"orvu_rwlock_exclusive_acquire", "orvu_rwlock_exclusive_release",
                              "orvu_rwlock_shared_acquire", "orvu_rwlock_shared_release"}));
}

TEST_F(Lock, a_guard_that_was_released_early_releases_nothing_more) {
    CRwLock lock;
    calls();
    {
        CAutoLock guard(lock);
        guard.release();
        EXPECT_EQ(calls().size(), 2U);
    }
    EXPECT_TRUE(calls().empty());
}

}  // namespace
}  // namespace kolvessa
