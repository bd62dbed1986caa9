// Subscribers and subscribees meet whichever comes first, and each hears the moments in their
// order.
#include "standalone/orvu_core/subscriptions.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "tests/standalone/orvu_core/full_mailbox.h"
#include "tests/standalone/orvu_core/service_thread.h"

namespace orvu::test {
namespace {

struct Heard {
    int32_t error;
    int32_t moment;
    std::string payload;
    orvu_subscriber_ref ref;
};

// What a subscribee's callback heard, for a callback shape that carries no context.
class Ledger {
  public:
    void add(int32_t error, int32_t moment, json_t* payload, orvu_subscriber_ref ref) {
        const std::lock_guard lock(mutex_);
        heard_.push_back({error, moment, payload == nullptr ? "" : text_of(payload), ref});
    }
    std::vector<Heard> all() {
        const std::lock_guard lock(mutex_);
        return heard_;
    }
    size_t size() { return all().size(); }
    void clear() {
        const std::lock_guard lock(mutex_);
        heard_.clear();
    }

  private:
    std::mutex mutex_;
    std::vector<Heard> heard_;
};

Ledger g_subscribee;

void subscribee(int32_t error, uintptr_t /*reserved*/, int32_t moment, json_t* payload,
                orvu_subscriber_ref ref) {
    g_subscribee.add(error, moment, payload, ref);
}

void subscriber(int32_t moment, json_t* payload, void* context) {
    static_cast<Ledger*>(context)->add(0, moment, payload, 0);
}

TEST(Subscriptions, the_outcome_of_an_installation_comes_with_a_null_reference) {
    g_subscribee.clear();
    std::thread([] {
        EXPECT_EQ(orvu_subscribee_install("s.outcome", 0, 0, subscribee, nullptr), ORVU_HOST_OK);
        EXPECT_EQ(orvu_subscribee_install("s.outcome", 0, 0, subscribee, nullptr),
                  ORVU_HOST_DUPLICATE);
        EXPECT_EQ(orvu_subscribee_install("", 0, 0, subscribee, nullptr), ORVU_HOST_INVALID);
        EXPECT_EQ(orvu_subscribee_install("s.outcome", 0, 0, nullptr, nullptr), ORVU_HOST_INVALID);
        EXPECT_EQ(orvu_host_poll(0), 3U);
    }).join();
    const std::vector<Heard> heard = g_subscribee.all();
    ASSERT_EQ(heard.size(), 3U);
    EXPECT_EQ(heard[0].error, ORVU_HOST_OK);
    EXPECT_EQ(heard[1].error, ORVU_HOST_DUPLICATE);
    EXPECT_EQ(heard[2].error, ORVU_HOST_INVALID);
    for (const Heard& one : heard) {
        EXPECT_EQ(one.ref, 0U);
        EXPECT_EQ(one.moment, 0);
    }
}

TEST(Subscriptions, a_whole_life_attach_push_both_ways_leave) {
    g_subscribee.clear();
    const ServiceThread service([] { orvu_subscribee_install("s.life", 0, 0, subscribee, [] {}); });
    Ledger mine;
    const uint64_t subscription =
        orvu_host_subscribe("s.life", "ns one", "name one", subscriber, &mine);
    ASSERT_NE(subscription, 0U);
    ASSERT_TRUE(poll_until([&] { return g_subscribee.size() == 2 && mine.size() == 1; }));
    EXPECT_EQ(mine.all()[0].moment, 0);
    EXPECT_EQ(g_subscribee.all()[1].moment, 0);
    const orvu_subscriber_ref ref = g_subscribee.all()[1].ref;
    ASSERT_NE(ref, 0U);
    const orvu_subscriber_attr* const attr = orvu_subscriber_get_attr(ref);
    ASSERT_NE(attr, nullptr);
    EXPECT_STREQ(attr->ns, "ns one");
    EXPECT_STREQ(attr->name, "name one");
    EXPECT_EQ(attr->reserved, 0);

    EXPECT_EQ(orvu_host_pushforward(subscription, json(R"({"operate":"get"})").get()), 0);
    ASSERT_TRUE(eventually([] { return g_subscribee.size() == 3; }));
    EXPECT_EQ(g_subscribee.all()[2].moment, 1);
    EXPECT_EQ(g_subscribee.all()[2].payload, R"({"operate":"get"})");
    EXPECT_EQ(g_subscribee.all()[2].ref, ref);

    EXPECT_EQ(orvu_subscribee_pushback(ref, json("[1]").get(), 0, 0), 0);
    ASSERT_TRUE(poll_until([&] { return mine.size() == 2; }));
    EXPECT_EQ(mine.all()[1].moment, 1);
    EXPECT_EQ(mine.all()[1].payload, "[1]");

    EXPECT_EQ(orvu_host_unsubscribe(subscription), ORVU_HOST_OK);
    ASSERT_TRUE(eventually([] { return g_subscribee.size() == 4; }));
    EXPECT_EQ(g_subscribee.all()[3].moment, 2);
    EXPECT_EQ(g_subscribee.all()[3].ref, ref);
    EXPECT_EQ(orvu_host_unsubscribe(subscription), ORVU_HOST_NOT_FOUND);
    EXPECT_EQ(orvu_host_pushforward(subscription, json("{}").get()), ORVU_HOST_NOT_FOUND);
    EXPECT_EQ(orvu_subscribee_pushback(ref, json("[2]").get(), 0, 0), ORVU_HOST_NOT_FOUND);
    ASSERT_TRUE(eventually([ref] { return orvu_subscriber_get_attr(ref) == nullptr; }));
    orvu_host_poll(20);
    EXPECT_EQ(mine.size(), 2U);
}

TEST(Subscriptions, a_subscriber_that_comes_first_is_attached_when_the_subscribee_appears) {
    g_subscribee.clear();
    Ledger mine;
    const uint64_t subscription = orvu_host_subscribe("s.first", "n", "early", subscriber, &mine);
    ASSERT_NE(subscription, 0U);
    EXPECT_EQ(orvu_host_pushforward(subscription, json("[1]").get()), 0);
    EXPECT_EQ(orvu_host_pushforward(subscription, json("[2]").get()), 0);
    EXPECT_EQ(orvu_host_poll(20), 0U);
    const ServiceThread service(
        [] { orvu_subscribee_install("s.first", 0, 0, subscribee, nullptr); });
    ASSERT_TRUE(poll_until([&] { return g_subscribee.size() == 4 && mine.size() == 1; }));
    const std::vector<Heard> heard = g_subscribee.all();
    EXPECT_EQ(heard[0].ref, 0U);
    EXPECT_EQ(heard[1].moment, 0);
    EXPECT_EQ(heard[2].payload, "[1]");
    EXPECT_EQ(heard[3].payload, "[2]");
    EXPECT_EQ(mine.all()[0].moment, 0);
    orvu_host_unsubscribe(subscription);
}

TEST(Subscriptions, what_waits_for_a_subscribee_is_bounded) {
    Ledger mine;
    const uint64_t subscription = orvu_host_subscribe("s.never", "n", "x", subscriber, &mine);
    for (size_t i = 0; i < Subscriptions::kMaxPending; ++i) {
        EXPECT_EQ(orvu_host_pushforward(subscription, json("{}").get()), ORVU_HOST_OK);
    }
    EXPECT_EQ(orvu_host_pushforward(subscription, json("{}").get()), ORVU_HOST_QUEUE_FULL);
    EXPECT_EQ(orvu_host_unsubscribe(subscription), ORVU_HOST_OK);
}

TEST(Subscriptions, references_are_never_given_twice) {
    g_subscribee.clear();
    const ServiceThread service(
        [] { orvu_subscribee_install("s.unique", 0, 0, subscribee, nullptr); });
    Ledger mine;
    for (int i = 0; i < 20; ++i) {
        const uint64_t subscription = orvu_host_subscribe("s.unique", "n", "x", subscriber, &mine);
        orvu_host_unsubscribe(subscription);
    }
    ASSERT_TRUE(eventually([] { return g_subscribee.size() == 41; }));
    std::set<orvu_subscriber_ref> refs;
    for (const Heard& heard : g_subscribee.all()) {
        if (heard.moment == 0 && heard.ref != 0) {
            EXPECT_TRUE(refs.insert(heard.ref).second);
        }
    }
    EXPECT_EQ(refs.size(), 20U);
}

TEST(Subscriptions, payloads_are_copies_of_their_own) {
    g_subscribee.clear();
    static std::atomic<json_t*> received{nullptr};
    const ServiceThread service([] {
        orvu_subscribee_install(
            "s.copy", 0, 0,
            [](int32_t, uintptr_t, int32_t moment, json_t* payload, orvu_subscriber_ref ref) {
                if (moment == 1) {
                    received = payload;
                }
                subscribee(0, 0, moment, payload, ref);
            },
            nullptr);
    });
    const orvu_subscriber_attr attr{"orvu", "app_rule", 0};
    const orvu_subscriber handle = orvu_subscriber_new(&attr);
    EXPECT_EQ(orvu_subscriber_subscribe(handle, "s.copy", 0, nullptr), 0);
    const JsonRef object = json(R"({"k":[1,2]})");
    EXPECT_EQ(orvu_subscriber_pushforward(handle, object.get(), 0, 0), 0);
    EXPECT_EQ(object.get()->refcount, 1U) << "the caller's reference stays the only one";
    ASSERT_TRUE(eventually([] { return g_subscribee.size() == 3; }));
    EXPECT_NE(received.load(), object.get());
    EXPECT_EQ(g_subscribee.all()[2].payload, R"({"k":[1,2]})");
}

TEST(Subscriptions, the_contracts_subscriber_outlives_the_thread_that_made_it) {
    g_subscribee.clear();
    const ServiceThread service(
        [] { orvu_subscribee_install("s.outlive", 0, 0, subscribee, nullptr); });
    orvu_subscriber handle = 0;
    std::thread([&handle] {
        const orvu_subscriber_attr attr{"orvu", nullptr, 0};
        handle = orvu_subscriber_new(&attr);
        orvu_subscriber_subscribe(handle, "s.outlive", 0,
                                  [](int32_t, uintptr_t, int32_t, json_t*, orvu_subscriber_ref) {});
    }).join();
    EXPECT_EQ(orvu_subscriber_pushforward(handle, json("{}").get(), 0, 0), ORVU_HOST_OK);
    ASSERT_TRUE(eventually([] { return g_subscribee.size() == 3; }));
    EXPECT_EQ(g_subscribee.all()[2].moment, 1);
    const orvu_subscriber_ref ref = g_subscribee.all()[2].ref;
    EXPECT_STREQ(orvu_subscriber_get_attr(ref)->name, "");
    EXPECT_EQ(orvu_subscribee_pushback(ref, json("{}").get(), 0, 0), ORVU_HOST_OWNER_GONE);
}

TEST(Subscriptions, an_outside_party_whose_thread_ends_is_a_lost_connection) {
    g_subscribee.clear();
    const ServiceThread service(
        [] { orvu_subscribee_install("s.lost", 0, 0, subscribee, nullptr); });
    Ledger theirs;
    std::thread([&theirs] {
        EXPECT_NE(orvu_host_subscribe("s.lost", "n", "x", subscriber, &theirs), 0U);
    }).join();
    ASSERT_TRUE(eventually([] { return g_subscribee.size() == 3; }));
    EXPECT_EQ(g_subscribee.all()[2].moment, 3);
    const uint64_t mine = orvu_host_subscribe("s.lost", "n", "y", subscriber, &theirs);
    EXPECT_EQ(orvu_host_connection_lost(mine), ORVU_HOST_OK);
    ASSERT_TRUE(eventually([] { return g_subscribee.size() == 5; }));
    EXPECT_EQ(g_subscribee.all()[4].moment, 3);
}

TEST(Subscriptions, a_subscribee_whose_thread_ends_is_told_and_the_next_one_attached) {
    g_subscribee.clear();
    Ledger mine;
    const uint64_t subscription = orvu_host_subscribe("s.again", "n", "x", subscriber, &mine);
    {
        const ServiceThread first(
            [] { orvu_subscribee_install("s.again", 0, 0, subscribee, nullptr); });
        ASSERT_TRUE(poll_until([&] { return mine.size() == 1; }));
    }
    ASSERT_TRUE(poll_until([&] { return mine.size() == 2; }));
    EXPECT_EQ(mine.all()[1].moment, 3);
    const ServiceThread second(
        [] { orvu_subscribee_install("s.again", 0, 0, subscribee, nullptr); });
    ASSERT_TRUE(poll_until([&] { return mine.size() == 3; }));
    EXPECT_EQ(mine.all()[2].moment, 0);
    orvu_host_unsubscribe(subscription);
}

TEST(Subscriptions, a_goodbye_that_dies_with_the_subscribee_leaves_no_reference) {
    g_subscribee.clear();
    Ledger mine;
    std::atomic<bool> installed{false};
    std::atomic<bool> end{false};
    std::thread service([&] {
        orvu_subscribee_install("s.dies", 0, 0, subscribee, nullptr);
        installed = true;
        while (g_subscribee.size() < 2) {
            orvu_host_poll(10);
        }
        while (!end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    ASSERT_TRUE(eventually([&] { return installed.load(); }));
    const uint64_t subscription = orvu_host_subscribe("s.dies", "n", "x", subscriber, &mine);
    ASSERT_TRUE(eventually([] { return g_subscribee.size() == 2; }));
    const orvu_subscriber_ref ref = g_subscribee.all()[1].ref;
    EXPECT_EQ(orvu_host_unsubscribe(subscription), ORVU_HOST_OK);
    EXPECT_NE(orvu_subscriber_get_attr(ref), nullptr) << "it has not heard the goodbye yet";
    end = true;
    service.join();
    EXPECT_EQ(orvu_subscriber_get_attr(ref), nullptr);
}

TEST(Subscriptions, the_number_of_subscribers_is_bounded_and_leaving_makes_room) {
    std::vector<uint64_t> all;
    while (const uint64_t one = orvu_host_subscribe("s.many", "n", "x", subscriber, nullptr)) {
        all.push_back(one);
        ASSERT_LE(all.size(), Subscriptions::kMaxSubscribers);
    }
    // Contract subscribers of other tests stay for good.
    EXPECT_GT(all.size(), Subscriptions::kMaxSubscribers / 2);
    const orvu_subscriber_attr attr{"orvu", "n", 0};
    EXPECT_EQ(orvu_subscriber_new(&attr), 0U);
    for (const uint64_t one : all) {
        EXPECT_EQ(orvu_host_unsubscribe(one), ORVU_HOST_OK);
    }
    EXPECT_NE(orvu_subscriber_new(&attr), 0U);
}

TEST(Subscriptions, a_leave_that_finds_the_subscribees_mailbox_full_leaves_all_as_it_was) {
    Ledger mine;
    std::promise<void> end;
    std::promise<void> installed;
    std::thread owner([&] {
        EXPECT_EQ(orvu_subscribee_install("s.full", 0, 0, subscribee, nullptr), ORVU_HOST_OK);
        fill_own_mailbox(2 * Mailbox::kLimit - 2);  // the outcome took one place
        installed.set_value();
        end.get_future().wait();  // without a poll, so that nothing leaves the mailbox
    });
    installed.get_future().wait();
    const uint64_t last = orvu_host_subscribe("s.full", "n", "x", subscriber, &mine);
    ASSERT_NE(last, 0U);
    EXPECT_EQ(orvu_host_subscribe("s.full", "n", "y", subscriber, &mine), 0U);
    EXPECT_EQ(orvu_host_pushforward(last, json("{}").get()), ORVU_HOST_QUEUE_FULL);
    EXPECT_EQ(orvu_host_unsubscribe(last), ORVU_HOST_QUEUE_FULL);
    end.set_value();
    owner.join();
    EXPECT_EQ(orvu_host_pushforward(last, json("{}").get()), ORVU_HOST_OK)
        << "it waits for the next subscribee";
    EXPECT_EQ(orvu_host_unsubscribe(last), ORVU_HOST_OK);
}

TEST(Subscriptions, wrong_handles_and_arguments_are_refused) {
    EXPECT_EQ(orvu_subscriber_new(nullptr), 0U);
    EXPECT_EQ(orvu_subscriber_subscribe(0, "s.x", 0, nullptr), ORVU_HOST_NOT_FOUND);
    const orvu_subscriber_attr attr{"orvu", "n", 0};
    const orvu_subscriber handle = orvu_subscriber_new(&attr);
    EXPECT_EQ(orvu_subscriber_subscribe(handle, nullptr, 0, nullptr), ORVU_HOST_INVALID);
    EXPECT_EQ(orvu_subscriber_pushforward(handle, json("{}").get(), 0, 0), ORVU_HOST_NOT_FOUND);
    EXPECT_EQ(orvu_subscriber_subscribe(handle, "s.x", 0, nullptr), ORVU_HOST_OK);
    EXPECT_EQ(orvu_subscriber_subscribe(handle, "s.x", 0, nullptr), ORVU_HOST_DUPLICATE);
    EXPECT_EQ(orvu_subscriber_pushforward(handle, nullptr, 0, 0), ORVU_HOST_INVALID);
    EXPECT_EQ(orvu_subscriber_get_attr(0), nullptr);
    EXPECT_EQ(orvu_subscribee_pushback(0, json("{}").get(), 0, 0), ORVU_HOST_NOT_FOUND);
    EXPECT_EQ(orvu_subscribee_pushback(0, nullptr, 0, 0), ORVU_HOST_INVALID);
    EXPECT_EQ(orvu_host_subscribe("s.x", "n", "x", nullptr, nullptr), 0U);
    EXPECT_EQ(orvu_host_subscribe(nullptr, "n", "x", subscriber, nullptr), 0U);
}

TEST(Subscriptions, pushes_from_many_threads_arrive_in_each_ones_order) {
    static std::vector<std::vector<json_int_t>> seen(3);
    static std::atomic<int> total{0};
    const ServiceThread service([] {
        orvu_subscribee_install(
            "s.order", 0, 0,
            [](int32_t, uintptr_t, int32_t moment, json_t* payload, orvu_subscriber_ref) {
                if (moment == 1) {
                    const json_int_t from = qiv_json_integer_value(qiv_json_array_get(payload, 0));
                    seen[static_cast<size_t>(from)].push_back(
                        qiv_json_integer_value(qiv_json_array_get(payload, 1)));
                    ++total;
                }
            },
            nullptr);
    });
    std::vector<std::thread> pushers;
    pushers.reserve(3);
    for (int p = 0; p < 3; ++p) {
        pushers.emplace_back([p] {
            Ledger ledger;
            const uint64_t mine = orvu_host_subscribe("s.order", "n", "x", subscriber, &ledger);
            for (int i = 0; i < 300; ++i) {
                const JsonRef pair(qiv_json_array());
                qiv_json_array_append_new(pair.get(), qiv_json_integer(p));
                qiv_json_array_append_new(pair.get(), qiv_json_integer(i));
                EXPECT_EQ(orvu_host_pushforward(mine, pair.get()), ORVU_HOST_OK);
            }
            orvu_host_unsubscribe(mine);
        });
    }
    for (std::thread& pusher : pushers) {
        pusher.join();
    }
    ASSERT_TRUE(eventually([] { return total == 900; }));
    for (const auto& one : seen) {
        EXPECT_TRUE(std::is_sorted(one.begin(), one.end()));
    }
}

}  // namespace
}  // namespace orvu::test
