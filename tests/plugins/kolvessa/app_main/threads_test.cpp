// Each service thread does its start-up and then polls for the rest of the process's life.

#include "plugins/kolvessa/app_main/threads.h"

#include <gmock/gmock.h>

#include "plugins/kolvessa/rule_update/rule_update_notification.h"
#include "tests/plugins/kolvessa/app_main/plugin_test.h"

namespace kolvessa {
namespace {

using testing::Contains;

class Threads : public PluginTest {};

constexpr const char* rule = R"([{"appid":7,"elements":[{"originalname":"tool.exe"}]}])";

TEST_F(Threads, they_are_started_as_process_side_web_side_and_update) {
    orvu_plugin_init(nullptr);
    ASSERT_EQ(host.thread_count(), 3U);
    EXPECT_EQ(host.thread_entry(0), &thd_kolvessa);
    EXPECT_EQ(host.thread_entry(1), &thd_kolvessa_web);
    EXPECT_EQ(host.thread_entry(2), &thd_update);
    for (const auto& call : host.calls_of("orvu_thread_start")) {
        EXPECT_EQ(call.text, "null");
    }
}

TEST_F(Threads, each_polls_when_its_start_up_is_done) {
    home.install("default", rule);
    host.start_threads();
    ASSERT_EQ(orvu_plugin_init(nullptr), 0);
    EXPECT_TRUE(host.wait_polling(0));
    EXPECT_TRUE(host.wait_polling(1));
    EXPECT_TRUE(host.wait_polling(2));
    EXPECT_TRUE(host.has_event_handler());
}

TEST_F(Threads, a_poll_that_returns_is_followed_by_another) {
    host.start_threads();
    orvu_plugin_init(nullptr);
    for (size_t thread = 0; thread < 3; ++thread) {
        int runs = 0;
        host.run_on(thread, [&] { ++runs; });
        host.run_on(thread, [&] { ++runs; });
        EXPECT_EQ(runs, 2);
    }
}

TEST_F(Threads, an_unreadable_list_file_is_logged_and_the_process_side_still_serves) {
    home.write("bin/kolvessa_rule_path.ejs", "no json");
    host.start_threads();
    orvu_plugin_init(nullptr);
    EXPECT_TRUE(host.wait_polling(0));
    EXPECT_TRUE(host.has_event_handler());
    EXPECT_THAT(host.messages(1), Contains("load_rulepath_by_file:1\n"));
}

TEST_F(Threads, a_refused_registration_ends_the_process_side_alone) {
    host.fail("orvu_basedrv_register_event_notify", 1);
    host.start_threads();
    EXPECT_EQ(orvu_plugin_init(nullptr), 0);
    EXPECT_TRUE(host.wait_ended(0));
    EXPECT_TRUE(host.wait_polling(1));
    EXPECT_TRUE(host.wait_polling(2));
    EXPECT_EQ(host.count("orvu_res_locate"), 0U);
    EXPECT_NE(g_kolvessa, nullptr);
}

TEST_F(Threads, threads_of_a_failed_start_stay_in_their_polls) {
    host.fail("orvu_thread_start", 9, 3);
    host.start_threads();
    EXPECT_EQ(orvu_plugin_init(nullptr), 51);
    EXPECT_TRUE(host.wait_polling(0));
    EXPECT_TRUE(host.wait_polling(1));
    EXPECT_FALSE(host.has_event_handler());
}

TEST_F(Threads, a_process_side_that_finds_no_object_polls_and_registers_nothing) {
    host.start_threads();
    orvu_thread_record record = {};
    ASSERT_EQ(orvu_thread_start(&record, thd_kolvessa, nullptr), 0);
    orvu_thread_detach(&record);
    EXPECT_TRUE(host.wait_polling(0));
    EXPECT_EQ(host.count("orvu_basedrv_register_event_notify"), 0U);
}

TEST_F(Threads, a_slow_thread_of_a_failed_start_does_not_run_the_next_start_a_second_time) {
    host.start_threads();
    ASSERT_EQ(orvu_plugin_init(nullptr), 0);
    ASSERT_TRUE(host.wait_polling(0));
    orvu_thread_record record = {};
    ASSERT_EQ(orvu_thread_start(&record, thd_kolvessa, nullptr), 0);
    orvu_thread_detach(&record);
    EXPECT_TRUE(host.wait_polling(3));
    EXPECT_EQ(host.count("orvu_basedrv_register_event_notify"), 1U);
}

}  // namespace
}  // namespace kolvessa
