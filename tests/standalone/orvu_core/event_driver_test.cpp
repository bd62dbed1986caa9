// An event's record reaches its handler, several at once, and its flags come back when completed.
#include "standalone/orvu_core/event_driver.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "standalone/orvu_core/text.h"
#include "tests/standalone/orvu_core/service_thread.h"

namespace orvu::test {
namespace {

constexpr uint32_t kLong = 10000;
constexpr int32_t kClass = ORVU_EVENT_CLASS_PROCESS;
constexpr int32_t kSub = ORVU_EVENT_SUB_START;
constexpr uint16_t kAll = 65535;
const orvu_wchar* const kPath = ORVU_TEXT("Z:\\usr\\bin\\ssh");

int32_t raise(uint64_t pid, uint32_t flags = 0, uint32_t* back = nullptr,
              uint32_t timeout = kLong) {
    return orvu_host_raise_process_event(pid, 1, kPath, flags, timeout, back);
}

// Registers a handler for the life of this object.
class Registered {
  public:
    explicit Registered(orvu_event_handler handler, void* context = nullptr, int32_t limit = 2000,
                        uint16_t mask = kAll)
        : handler_(handler), mask_(mask) {
        EXPECT_EQ(orvu_basedrv_register_event_notify(kClass, kSub, handler, context, limit, mask),
                  ORVU_HOST_OK);
    }
    Registered(const Registered&) = delete;
    Registered& operator=(const Registered&) = delete;
    ~Registered() { orvu_basedrv_unregister_event_notify(kClass, kSub, handler_, mask_); }

  private:
    orvu_event_handler handler_;
    uint16_t mask_;
};

unsigned char* data(orvu_msg message) {
    return static_cast<unsigned char*>(orvu_basedrv_get_notify_msgdata(message));
}

uint32_t flags_of(orvu_msg message) {
    uint32_t flags = 0;
    std::memcpy(&flags, data(message), sizeof flags);
    return flags;
}

void set_flags(orvu_msg message, uint32_t flags) {
    std::memcpy(data(message), &flags, sizeof flags);
}

uint64_t word_at(orvu_msg message, size_t offset) {
    uint64_t word = 0;
    std::memcpy(&word, data(message) + offset, sizeof word);
    return word;
}

TEST(EventDriver, initialising_is_idempotent_and_takes_any_argument) {
    EXPECT_EQ(orvu_basedrv_init_driver(nullptr), 0);
    int host = 0;
    EXPECT_EQ(orvu_basedrv_init_driver(&host), 0);
}

TEST(EventDriver, the_record_is_laid_out_byte_for_byte) {
    static std::vector<unsigned char> seen;
    static int context = 0;
    const Registered handler(
        [](int32_t status, orvu_msg message, void* argument, uintptr_t) {
            EXPECT_EQ(status, 0);
            EXPECT_EQ(argument, &context);
            seen.assign(data(message), data(message) + 28 + 3 * sizeof(orvu_wchar));
            orvu_basedrv_complete_msg(message);
        },
        &context);
    EXPECT_EQ(orvu_host_raise_process_event(0x1122334455667788, 0x99AABBCCDDEEFF00,
                                            ORVU_TEXT("a\u20AC"), 0x04030201, kLong, nullptr),
              ORVU_HOST_OK);
    const std::vector<unsigned char> expected = {
        0x01, 0x02, 0x03, 0x04, 0x00, 0xFF, 0xEE, 0xDD, 0xCC, 0xBB, 0xAA, 0x99,
        0x88, 0x77, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11, 0,    0,    0,    0,
        0,    0,    0,    0,    'a',  0,    0xAC, 0x20, 0,    0};
    EXPECT_EQ(seen, expected);
}

TEST(EventDriver, the_flags_come_back_as_the_handler_left_them) {
    const Registered handler([](int32_t, orvu_msg message, void*, uintptr_t) {
        set_flags(message, flags_of(message) | ORVU_EVENT_FLAG_ISAPPID);
        EXPECT_EQ(orvu_basedrv_complete_msg(message), ORVU_HOST_OK);
    });
    uint32_t back = 0;
    EXPECT_EQ(raise(7, 0x10004, &back), ORVU_HOST_OK);
    EXPECT_EQ(back, 0x1000CU);
    EXPECT_EQ(raise(7), ORVU_HOST_OK);
}

TEST(EventDriver, as_many_handlers_as_threads_run_at_once) {
    static std::atomic<int> inside{0};
    static std::atomic<bool> all_met{false};
    const Registered handler([](int32_t, orvu_msg message, void*, uintptr_t) {
        ++inside;
        all_met = eventually([] { return inside == ORVU_EVENT_THREADS; }) || all_met;
        orvu_basedrv_complete_msg(message);
    });
    std::vector<std::thread> raisers;
    raisers.reserve(ORVU_EVENT_THREADS);
    for (int i = 0; i < ORVU_EVENT_THREADS; ++i) {
        raisers.emplace_back([i] { EXPECT_EQ(raise(100 + i), ORVU_HOST_OK); });
    }
    for (std::thread& raiser : raisers) {
        raiser.join();
    }
    EXPECT_TRUE(all_met);
}

TEST(EventDriver, each_raiser_gets_the_flags_of_its_own_record) {
    const Registered handler([](int32_t, orvu_msg message, void*, uintptr_t) {
        set_flags(message, static_cast<uint32_t>(word_at(message, 12)) * 3);
        orvu_basedrv_complete_msg(message);
    });
    std::vector<std::thread> raisers;
    raisers.reserve(8);
    for (uint32_t r = 0; r < 8; ++r) {
        raisers.emplace_back([r] {
            for (uint32_t i = 0; i < 100; ++i) {
                uint32_t back = 0;
                ASSERT_EQ(raise(r * 1000 + i, 0, &back), ORVU_HOST_OK);
                ASSERT_EQ(back, (r * 1000 + i) * 3);
            }
        });
    }
    for (std::thread& raiser : raisers) {
        raiser.join();
    }
}

TEST(EventDriver, without_a_handler_nothing_is_raised) {
    uint32_t back = 0;
    EXPECT_EQ(raise(7, 5, &back), ORVU_HOST_NOT_FOUND);
    EXPECT_EQ(back, 5U);
    EXPECT_EQ(orvu_host_raise_process_event(7, 1, nullptr, 0, kLong, nullptr), ORVU_HOST_INVALID);
    const wide_string long_path(32768, static_cast<orvu_wchar>('x'));
    EXPECT_EQ(orvu_host_raise_process_event(7, 1, long_path.c_str(), 0, kLong, nullptr),
              ORVU_HOST_INVALID);
}

TEST(EventDriver, the_mask_says_which_kinds_reach_a_handler) {
    static std::atomic<int> called{0};
    const Registered other(
        [](int32_t, orvu_msg message, void*, uintptr_t) {
            ++called;
            orvu_basedrv_complete_msg(message);
        },
        nullptr, 2000, 0xFFFE);
    EXPECT_EQ(raise(7), ORVU_HOST_NOT_FOUND);
    EXPECT_EQ(called, 0);
}

TEST(EventDriver, another_thread_may_complete_a_message_after_its_handler_returned) {
    static std::atomic<orvu_msg> handed{0};
    handed = 0;
    const Registered handler([](int32_t, orvu_msg message, void*, uintptr_t) { handed = message; });
    std::thread completer([] {
        ASSERT_TRUE(eventually([] { return handed != 0; }));
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        set_flags(handed, 77);
        EXPECT_EQ(orvu_basedrv_complete_msg(handed), ORVU_HOST_OK);
    });
    uint32_t back = 0;
    EXPECT_EQ(raise(7, 0, &back), ORVU_HOST_OK);
    EXPECT_EQ(back, 77U);
    completer.join();
}

TEST(EventDriver, a_second_completion_is_refused_and_the_record_is_gone) {
    static std::atomic<int32_t> second{-1};
    static std::atomic<void*> after{&second};
    const Registered handler([](int32_t, orvu_msg message, void*, uintptr_t) {
        orvu_basedrv_complete_msg(message);
        second = orvu_basedrv_complete_msg(message);
        after = orvu_basedrv_get_notify_msgdata(message);
    });
    EXPECT_EQ(raise(7), ORVU_HOST_OK);
    EXPECT_TRUE(eventually([] { return after == nullptr; }));
    EXPECT_EQ(second, ORVU_HOST_NOT_FOUND);
    EXPECT_EQ(orvu_basedrv_complete_msg(0), ORVU_HOST_NOT_FOUND);
    EXPECT_EQ(orvu_basedrv_get_notify_msgdata(0), nullptr);
}

TEST(EventDriver, a_message_that_timed_out_keeps_its_record_until_it_is_completed) {
    static std::atomic<bool> release{false};
    static std::atomic<int32_t> completed{-1};
    const Registered handler([](int32_t, orvu_msg message, void*, uintptr_t) {
        ASSERT_TRUE(eventually([] { return release.load(); }));
        set_flags(message, 99);  // nobody waits any more, but the record is still there
        completed = orvu_basedrv_complete_msg(message);
    });
    uint32_t back = 0;
    EXPECT_EQ(raise(7, 3, &back, 30), ORVU_HOST_TIMED_OUT);
    EXPECT_EQ(back, 3U);
    release = true;
    EXPECT_TRUE(eventually([] { return completed == ORVU_HOST_OK; }));
    EXPECT_EQ(raise(8, 3, &back), ORVU_HOST_OK);
    EXPECT_EQ(back, 99U);
}

TEST(EventDriver, records_whose_handlers_never_complete_are_kept_up_to_a_bound) {
    static std::atomic<orvu_msg> first{0};
    static std::atomic<orvu_msg> last{0};
    static std::atomic<size_t> calls{0};
    const Registered handler([](int32_t, orvu_msg message, void*, uintptr_t) {
        if (calls == 0) {
            first = message;
        }
        last = message;
        ++calls;
    });
    // A message that times out before the handler has begun is not handled at all, so it is the
    // handler's calls that count.
    while (calls <= EventDriver::kMaxStranded) {
        ASSERT_EQ(raise(7, 0, nullptr, 2), ORVU_HOST_TIMED_OUT);
    }
    EXPECT_TRUE(eventually([] { return orvu_basedrv_get_notify_msgdata(first) == nullptr; }));
    EXPECT_NE(orvu_basedrv_get_notify_msgdata(last), nullptr);
    EXPECT_EQ(orvu_basedrv_complete_msg(first), ORVU_HOST_NOT_FOUND);
    EXPECT_EQ(orvu_basedrv_complete_msg(last), ORVU_HOST_OK);
}

TEST(EventDriver, what_waits_for_a_handler_is_bounded_by_its_limit) {
    static std::atomic<bool> release{false};
    static std::atomic<int> inside{0};
    const Registered handler(
        [](int32_t, orvu_msg message, void*, uintptr_t) {
            ++inside;
            EXPECT_TRUE(eventually([] { return release.load(); }));
            orvu_basedrv_complete_msg(message);
        },
        nullptr, 2);
    std::vector<std::thread> raisers;
    for (int i = 0; i < ORVU_EVENT_THREADS; ++i) {
        raisers.emplace_back([i] { EXPECT_EQ(raise(i), ORVU_HOST_OK); });
        ASSERT_TRUE(eventually([i] { return inside == i + 1; }));
    }
    const auto waiting = [] {
        const JsonRef all(orvu_host_registered());
        json_t* const events = qiv_json_object_get(all.get(), "events");
        json_t* const entry = qiv_json_array_get(events, 0);
        return qiv_json_integer_value(qiv_json_object_get(entry, "waiting"));
    };
    for (int i = 0; i < 2; ++i) {
        raisers.emplace_back([i] { EXPECT_EQ(raise(50 + i), ORVU_HOST_OK); });
        ASSERT_TRUE(eventually([&, i] { return waiting() == i + 1; }));
    }
    EXPECT_EQ(raise(60), ORVU_HOST_QUEUE_FULL);
    release = true;
    for (std::thread& raiser : raisers) {
        raiser.join();
    }
    EXPECT_EQ(waiting(), 0);
}

TEST(EventDriver, unregistering_waits_for_running_handlers_and_gives_back_what_waits) {
    static std::atomic<int> inside{0};
    static std::atomic<int> left{0};
    const orvu_event_handler handler = [](int32_t, orvu_msg message, void*, uintptr_t) {
        ++inside;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        orvu_basedrv_complete_msg(message);
        ++left;
    };
    ASSERT_EQ(orvu_basedrv_register_event_notify(kClass, kSub, handler, nullptr, 2000, kAll), 0);
    std::vector<std::thread> raisers;
    raisers.reserve(ORVU_EVENT_THREADS + 2);
    std::atomic<int> refused{0};
    for (int i = 0; i < ORVU_EVENT_THREADS + 2; ++i) {
        raisers.emplace_back([i, &refused] { refused += raise(i) == ORVU_HOST_NOT_FOUND ? 1 : 0; });
    }
    ASSERT_TRUE(eventually([] { return inside == ORVU_EVENT_THREADS; }));
    EXPECT_EQ(orvu_basedrv_unregister_event_notify(kClass, kSub, handler, kAll), ORVU_HOST_OK);
    EXPECT_EQ(left, inside) << "no handler runs any more";
    EXPECT_EQ(orvu_basedrv_unregister_event_notify(kClass, kSub, handler, kAll),
              ORVU_HOST_NOT_FOUND);
    for (std::thread& raiser : raisers) {
        raiser.join();
    }
    EXPECT_EQ(refused + left, ORVU_EVENT_THREADS + 2);
}

TEST(EventDriver, a_handler_may_unregister_itself) {
    static std::atomic<int32_t> outcome{-1};
    static orvu_event_handler self = [](int32_t, orvu_msg message, void*, uintptr_t) {
        outcome = orvu_basedrv_unregister_event_notify(kClass, kSub, self, kAll);
        orvu_basedrv_complete_msg(message);
    };
    ASSERT_EQ(orvu_basedrv_register_event_notify(kClass, kSub, self, nullptr, 2000, kAll), 0);
    EXPECT_EQ(raise(7), ORVU_HOST_OK);
    EXPECT_EQ(outcome, ORVU_HOST_OK);
    EXPECT_EQ(raise(7), ORVU_HOST_NOT_FOUND);
}

TEST(EventDriver, registering_again_replaces_context_and_limit) {
    static std::atomic<void*> seen{nullptr};
    static int first = 0;
    static int second = 0;
    const orvu_event_handler handler = [](int32_t, orvu_msg message, void* context, uintptr_t) {
        seen = context;
        orvu_basedrv_complete_msg(message);
    };
    const Registered once(handler, &first);
    const Registered again(handler, &second);
    EXPECT_EQ(raise(7), ORVU_HOST_OK);
    EXPECT_EQ(seen, &second);
    const JsonRef all(orvu_host_registered());
    EXPECT_EQ(qiv_json_array_size(qiv_json_object_get(all.get(), "events")), 1U);
}

TEST(EventDriver, two_handlers_see_the_record_one_after_the_other) {
    const Registered one([](int32_t, orvu_msg message, void*, uintptr_t) {
        set_flags(message, flags_of(message) + 1);
        orvu_basedrv_complete_msg(message);
    });
    const Registered two([](int32_t, orvu_msg message, void*, uintptr_t) {
        set_flags(message, flags_of(message) * 10);
        orvu_basedrv_complete_msg(message);
    });
    uint32_t back = 0;
    EXPECT_EQ(raise(7, 1, &back), ORVU_HOST_OK);
    EXPECT_EQ(back, 20U);
}

TEST(EventDriver, wrong_registrations_are_refused) {
    const orvu_event_handler handler = [](int32_t, orvu_msg, void*, uintptr_t) {
    };
    EXPECT_EQ(orvu_basedrv_register_event_notify(1, 0, nullptr, nullptr, 2000, kAll),
              ORVU_HOST_INVALID);
    EXPECT_EQ(orvu_basedrv_register_event_notify(1, 0, handler, nullptr, 0, kAll),
              ORVU_HOST_INVALID);
    EXPECT_EQ(orvu_basedrv_register_event_notify(1, 0, handler, nullptr, 2000, 0),
              ORVU_HOST_INVALID);
}

TEST(EventDriver, the_number_of_registrations_is_bounded_and_removing_one_makes_room) {
    const orvu_event_handler handler = [](int32_t, orvu_msg, void*, uintptr_t) {
    };
    const auto add = [handler](size_t sub) {
        return orvu_basedrv_register_event_notify(900, static_cast<int32_t>(sub), handler, nullptr,
                                                  1, kAll);
    };
    const auto remove = [handler](size_t sub) {
        return orvu_basedrv_unregister_event_notify(900, static_cast<int32_t>(sub), handler, kAll);
    };
    for (size_t sub = 0; sub < EventDriver::kMaxRegistrations; ++sub) {
        ASSERT_EQ(add(sub), ORVU_HOST_OK);
    }
    EXPECT_EQ(add(EventDriver::kMaxRegistrations), ORVU_HOST_LIMIT);
    EXPECT_EQ(add(5), ORVU_HOST_OK) << "one that is there";
    EXPECT_EQ(remove(5), ORVU_HOST_OK);
    EXPECT_EQ(add(EventDriver::kMaxRegistrations), ORVU_HOST_OK);
    for (size_t sub = 0; sub <= EventDriver::kMaxRegistrations; ++sub) {
        EXPECT_EQ(remove(sub), sub == 5 ? ORVU_HOST_NOT_FOUND : ORVU_HOST_OK);
    }
}

TEST(EventDriver, waiting_for_a_handler_ends_with_its_registration_or_with_the_time) {
    EXPECT_EQ(orvu_host_wait_event_handler(10), ORVU_HOST_TIMED_OUT);
    static const orvu_event_handler handler = [](int32_t, orvu_msg, void*, uintptr_t) {
    };
    std::thread late([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        orvu_basedrv_register_event_notify(kClass, kSub, handler, nullptr, 1, kAll);
    });
    EXPECT_EQ(orvu_host_wait_event_handler(kLong), ORVU_HOST_OK);
    late.join();
    orvu_basedrv_unregister_event_notify(kClass, kSub, handler, kAll);
}

}  // namespace
}  // namespace orvu::test
