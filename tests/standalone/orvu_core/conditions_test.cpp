// A condition meets its executor whichever comes first, and its state reaches whoever attached it.
#include "standalone/orvu_core/conditions.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "tests/standalone/orvu_core/full_mailbox.h"
#include "tests/standalone/orvu_core/service_thread.h"

namespace orvu::test {
namespace {

constexpr uint32_t kLong = 10000;

std::mutex g_mutex;
std::vector<std::pair<int32_t, std::string>> g_operations;

size_t operations() {
    const std::lock_guard lock(g_mutex);
    return g_operations.size();
}

void forget_operations() {
    const std::lock_guard lock(g_mutex);
    g_operations.clear();
}

// Reports met when the parameters hold "type": ["yes"], and 1 after a detach.
int32_t executor(orvu_cond cond, int32_t operation) {
    const orvu_cond_attr* const attr = orvu_cond_get_attr(cond);
    json_t* const param = attr == nullptr ? nullptr : attr->param;
    const std::string text = param == nullptr ? "none" : text_of(param);
    {
        const std::lock_guard lock(g_mutex);
        g_operations.emplace_back(operation, text);
    }
    orvu_cond_result result{1, {0, 0}};
    if (operation == 0) {
        result.state = text.find("yes") != std::string::npos ? 1 : 0;
    }
    return orvu_cond_res_changed(cond, &result);
}

using States = std::vector<int32_t>;

void note(uint64_t /*condition*/, int32_t state, void* context) {
    static_cast<States*>(context)->push_back(state);
}

TEST(Conditions, an_attach_is_answered_with_the_state) {
    forget_operations();
    const ServiceThread service(
        [] { EXPECT_EQ(orvu_cond_exec_install("c.answer", 0, 0, executor), 0); });
    States states;
    const uint64_t yes =
        orvu_host_condition_attach("c.answer", json(R"({"type":["yes"]})").get(), note, &states);
    ASSERT_NE(yes, 0U);
    ASSERT_TRUE(poll_until([&] { return states.size() == 1; }));
    EXPECT_EQ(states, States{1});
    const uint64_t no = orvu_host_condition_attach("c.answer", nullptr, nullptr, nullptr);
    int32_t state = -1;
    EXPECT_EQ(orvu_host_condition_state(no, kLong, &state), ORVU_HOST_OK);
    EXPECT_EQ(state, 0);
    {
        const std::lock_guard lock(g_mutex);
        EXPECT_EQ(g_operations[0], (std::pair<int32_t, std::string>{0, R"({"type":["yes"]})"}));
        EXPECT_EQ(g_operations[1], (std::pair<int32_t, std::string>{0, "{}"}))
            << "without parameters there is an empty object";
    }
    EXPECT_EQ(orvu_host_condition_detach(yes), ORVU_HOST_OK);
    EXPECT_EQ(orvu_host_condition_detach(no), ORVU_HOST_OK);
}

TEST(Conditions, a_detach_reaches_the_executor_and_its_report_nobody) {
    forget_operations();
    const ServiceThread service([] { orvu_cond_exec_install("c.detach", 0, 0, executor); });
    States states;
    const uint64_t condition = orvu_host_condition_attach("c.detach", nullptr, note, &states);
    ASSERT_TRUE(poll_until([&] { return states.size() == 1; }));
    EXPECT_EQ(orvu_host_condition_detach(condition), ORVU_HOST_OK);
    EXPECT_EQ(orvu_host_condition_detach(condition), ORVU_HOST_NOT_FOUND);
    ASSERT_TRUE(eventually([] { return operations() == 2; }));
    {
        const std::lock_guard lock(g_mutex);
        EXPECT_EQ(g_operations[1], (std::pair<int32_t, std::string>{1, "{}"}))
            << "its record still stands during the detach";
    }
    orvu_host_poll(20);
    EXPECT_EQ(states, States{0});
    int32_t state = 0;
    EXPECT_EQ(orvu_host_condition_state(condition, 0, &state), ORVU_HOST_NOT_FOUND);
    ASSERT_TRUE(eventually([condition] { return orvu_cond_get_attr(condition) == nullptr; }));
}

TEST(Conditions, a_condition_that_comes_first_is_handed_over_when_the_executor_appears) {
    forget_operations();
    States states;
    const uint64_t condition =
        orvu_host_condition_attach("c.early", json(R"({"type":["yes"]})").get(), note, &states);
    EXPECT_EQ(orvu_host_condition_state(condition, 20, nullptr), ORVU_HOST_TIMED_OUT);
    const ServiceThread service([] { orvu_cond_exec_install("c.early", 0, 0, executor); });
    ASSERT_TRUE(poll_until([&] { return states.size() == 1; }));
    EXPECT_EQ(states, States{1});
    orvu_host_condition_detach(condition);
}

TEST(Conditions, one_that_is_detached_before_its_executor_appears_is_never_heard_of) {
    forget_operations();
    const uint64_t condition = orvu_host_condition_attach("c.gone", nullptr, nullptr, nullptr);
    EXPECT_EQ(orvu_host_condition_detach(condition), ORVU_HOST_OK);
    const ServiceThread service([] { orvu_cond_exec_install("c.gone", 0, 0, executor); });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(operations(), 0U);
}

TEST(Conditions, every_later_report_is_delivered_in_order) {
    const ServiceThread service([] { orvu_cond_exec_install("c.later", 0, 0, executor); });
    States states;
    const uint64_t condition = orvu_host_condition_attach("c.later", nullptr, note, &states);
    ASSERT_TRUE(poll_until([&] { return states.size() == 1; }));
    for (const int32_t state : {1, 1, 0, 7}) {
        orvu_cond_result result{state, {0, 0}};
        EXPECT_EQ(orvu_cond_res_changed(condition, &result), ORVU_HOST_OK);
        result.state = 99;  // the record is read during the call only
    }
    ASSERT_TRUE(poll_until([&] { return states.size() == 5; }));
    EXPECT_EQ(states, (States{0, 1, 1, 0, 7}));
    int32_t last = 0;
    EXPECT_EQ(orvu_host_condition_state(condition, 0, &last), ORVU_HOST_OK);
    EXPECT_EQ(last, 7);
    orvu_host_condition_detach(condition);
}

TEST(Conditions, an_executor_whose_thread_ends_leaves_its_conditions_to_the_next) {
    forget_operations();
    uint64_t condition = 0;
    {
        const ServiceThread first([] { orvu_cond_exec_install("c.next", 0, 0, executor); });
        condition = orvu_host_condition_attach("c.next", nullptr, nullptr, nullptr);
        EXPECT_EQ(orvu_host_condition_state(condition, kLong, nullptr), ORVU_HOST_OK);
    }
    const ServiceThread second(
        [] { EXPECT_EQ(orvu_cond_exec_install("c.next", 0, 0, executor), ORVU_HOST_OK); });
    ASSERT_TRUE(eventually([] { return operations() == 2; }));
    orvu_host_condition_detach(condition);
    ASSERT_TRUE(eventually([] { return operations() == 3; }));
}

TEST(Conditions, one_whose_thread_ends_is_detached) {
    forget_operations();
    const ServiceThread service([] { orvu_cond_exec_install("c.thread", 0, 0, executor); });
    States states;
    std::thread([&states] {
        const uint64_t condition = orvu_host_condition_attach("c.thread", nullptr, note, &states);
        EXPECT_EQ(orvu_host_condition_state(condition, kLong, nullptr), ORVU_HOST_OK);
    }).join();
    ASSERT_TRUE(eventually([] { return operations() == 2; }));
    const std::lock_guard lock(g_mutex);
    EXPECT_EQ(g_operations[1].first, 1);
}

TEST(Conditions, their_number_is_bounded_and_detaching_makes_room) {
    std::vector<uint64_t> all;
    while (const uint64_t one = orvu_host_condition_attach("c.many", nullptr, nullptr, nullptr)) {
        all.push_back(one);
        ASSERT_LE(all.size(), Conditions::kMaxConditions);
    }
    EXPECT_GT(all.size(), Conditions::kMaxConditions / 2);
    for (const uint64_t one : all) {
        EXPECT_EQ(orvu_host_condition_detach(one), ORVU_HOST_OK);
    }
    const uint64_t again = orvu_host_condition_attach("c.many", nullptr, nullptr, nullptr);
    EXPECT_NE(again, 0U);
    EXPECT_EQ(orvu_host_condition_detach(again), ORVU_HOST_OK);
}

TEST(Conditions, a_detach_that_finds_the_executors_mailbox_full_leaves_all_as_it_was) {
    std::promise<void> end;
    std::promise<void> installed;
    std::thread owner([&] {
        EXPECT_EQ(orvu_cond_exec_install("c.full", 0, 0, executor), ORVU_HOST_OK);
        fill_own_mailbox(2 * Mailbox::kLimit - 1);
        installed.set_value();
        end.get_future().wait();  // without a poll, so that nothing leaves the mailbox
    });
    installed.get_future().wait();
    const uint64_t last = orvu_host_condition_attach("c.full", nullptr, nullptr, nullptr);
    ASSERT_NE(last, 0U);
    EXPECT_EQ(orvu_host_condition_attach("c.full", nullptr, nullptr, nullptr), 0U);
    EXPECT_EQ(orvu_host_condition_detach(last), ORVU_HOST_QUEUE_FULL);
    EXPECT_NE(orvu_cond_get_attr(last), nullptr);
    end.set_value();
    owner.join();
    EXPECT_EQ(orvu_host_condition_detach(last), ORVU_HOST_OK);
    EXPECT_EQ(orvu_cond_get_attr(last), nullptr);
}

TEST(Conditions, wrong_handles_and_arguments_are_refused) {
    EXPECT_EQ(orvu_cond_exec_install(nullptr, 0, 0, executor), ORVU_HOST_INVALID);
    EXPECT_EQ(orvu_cond_exec_install("c.twice", 0, 0, nullptr), ORVU_HOST_INVALID);
    EXPECT_EQ(orvu_cond_exec_install("c.twice", 0, 0, executor), ORVU_HOST_OK);
    EXPECT_EQ(orvu_cond_exec_install("c.twice", 0, 0, executor), ORVU_HOST_DUPLICATE);
    EXPECT_EQ(orvu_cond_get_attr(0), nullptr);
    const orvu_cond_result result{1, {0, 0}};
    EXPECT_EQ(orvu_cond_res_changed(0, &result), ORVU_HOST_NOT_FOUND);
    EXPECT_EQ(orvu_cond_res_changed(0, nullptr), ORVU_HOST_INVALID);
    EXPECT_EQ(orvu_host_condition_attach("", nullptr, nullptr, nullptr), 0U);
    EXPECT_EQ(orvu_host_condition_state(0, 0, nullptr), ORVU_HOST_NOT_FOUND);
}

}  // namespace
}  // namespace orvu::test
