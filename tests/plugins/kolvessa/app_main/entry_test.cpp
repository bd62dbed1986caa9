// The entry starts the plug-in in one fixed order, once, and tells each failure by its code.

#include "plugins/kolvessa/app_main/entry.h"

#include <gmock/gmock.h>

#include "tests/fakehost/failing_new.h"
#include "tests/plugins/kolvessa/app_main/plugin_test.h"

namespace kolvessa {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Entry : public PluginTest {
  protected:
    bool unregistered() const { return host.count("orvu_basedrv_unregister_event_notify") != 0; }
};

TEST_F(Entry, a_start_calls_the_host_in_this_order) {
    EXPECT_EQ(orvu_plugin_init(nullptr), 0);
    EXPECT_THAT(host.call_names(),
                ElementsAre("orvu_basedrv_init_driver", "orvu_subscriber_new",
                            "orvu_subscriber_subscribe", "orvu_thread_start", "orvu_thread_detach",
                            "orvu_thread_start", "orvu_thread_detach", "orvu_thread_start",
                            "orvu_thread_detach", "orvu_cond_exec_install"));
    EXPECT_NE(g_kolvessa, nullptr);
    EXPECT_NE(g_app_rule_subscriber, 0U);
}

TEST_F(Entry, a_start_hands_the_hosts_argument_through_unread) {
    int argument = 0;
    orvu_plugin_init(&argument);
    EXPECT_EQ(host.calls_of("orvu_basedrv_init_driver")[0].text,
              std::to_string(reinterpret_cast<uintptr_t>(&argument)));
    EXPECT_EQ(argument, 0);
}

TEST_F(Entry, the_subscriber_is_app_rule_of_orvu_on_rule_update_notification) {
    orvu_plugin_init(nullptr);
    EXPECT_EQ(host.calls_of("orvu_subscriber_new")[0].text, "orvu, app_rule, 0");
    EXPECT_EQ(host.calls_of("orvu_subscriber_subscribe")[0].text,
              "subscriber, rule_update_notification, 0");
}

TEST_F(Entry, the_condition_executor_is_tm_kolvessa) {
    orvu_plugin_init(nullptr);
    EXPECT_EQ(host.calls_of("orvu_cond_exec_install")[0].text, "tm_kolvessa, 0, 0");
}

TEST_F(Entry, a_start_logs_three_threads_and_the_result_and_the_third_shows_the_webs_identifier) {
    orvu_plugin_init(nullptr);
    EXPECT_THAT(host.messages(2), ElementsAre("create kolvessa the thread suc 1001  \n",
                                              "create kolvessa web the thread suc 1002  \n",
                                              "create kolvessa thd_update the thread suc 1002  \n",
                                              "kolvessa plugin:ret:0 \n"));
    EXPECT_THAT(host.messages(1), IsEmpty());
}

TEST_F(Entry, each_thread_is_logged_between_its_start_and_its_detaching_and_the_result_last) {
    host.record_everything();
    orvu_plugin_init(nullptr);
    std::vector<std::string> names;
    for (const std::string& name : host.call_names()) {
        if (name.starts_with("orvu_thread_") || name == "orvu_log_output" ||
            name == "orvu_cond_exec_install") {
            names.push_back(name);
        }
    }
    EXPECT_THAT(names, ElementsAre("orvu_thread_start", "orvu_log_output", "orvu_thread_detach",
                                   "orvu_thread_start", "orvu_log_output", "orvu_thread_detach",
                                   "orvu_thread_start", "orvu_log_output", "orvu_thread_detach",
                                   "orvu_cond_exec_install", "orvu_log_output"));
}

TEST_F(Entry, a_second_call_after_a_success_writes_one_line_and_starts_nothing) {
    orvu_plugin_init(nullptr);
    CKolvessa* const first = g_kolvessa;
    host.forget_calls();
    EXPECT_EQ(orvu_plugin_init(nullptr), 0);
    EXPECT_THAT(host.call_names(), IsEmpty());
    EXPECT_THAT(host.messages(), ElementsAre("kolvessa plugin:ret:0 \n"));
    EXPECT_EQ(g_kolvessa, first);
}

TEST_F(Entry, a_driver_that_returns_2_gives_2111) {
    host.fail("orvu_basedrv_init_driver", 2);
    EXPECT_EQ(orvu_plugin_init(nullptr), 2111);
    EXPECT_THAT(host.call_names(), ElementsAre("orvu_basedrv_init_driver"));
    EXPECT_THAT(host.messages(1), ElementsAre("init kolvessa failed!\n"));
    EXPECT_THAT(host.messages(),
                ElementsAre("init kolvessa failed!\n", "kolvessa plugin:ret:2111 \n"));
    EXPECT_EQ(g_kolvessa, nullptr);
}

TEST_F(Entry, a_driver_that_returns_r_gives_1000_r_plus_111) {
    host.fail("orvu_basedrv_init_driver", 1, 1);
    host.fail("orvu_basedrv_init_driver", 31, 2);
    host.fail("orvu_basedrv_init_driver", -1, 3);
    EXPECT_EQ(orvu_plugin_init(nullptr), 1111);
    EXPECT_EQ(orvu_plugin_init(nullptr), 31111);
    EXPECT_EQ(orvu_plugin_init(nullptr), -889);
}

TEST_F(Entry, any_result_of_the_driver_has_a_code) {
    host.fail("orvu_basedrv_init_driver", INT32_MIN, 1);
    host.fail("orvu_basedrv_init_driver", INT32_MAX, 2);
    const auto wrapped = [](uint32_t r) {
        return static_cast<int32_t>(r * 1000 + 111);
    };
    EXPECT_EQ(orvu_plugin_init(nullptr), wrapped(0x80000000U));
    EXPECT_EQ(orvu_plugin_init(nullptr), wrapped(0x7FFFFFFFU));
}

TEST_F(Entry, only_the_low_32_bits_of_the_drivers_result_count) {
    host.fail("orvu_basedrv_init_driver", int64_t{1} << 32);
    EXPECT_EQ(orvu_plugin_init(nullptr), 0);
}

TEST_F(Entry, no_memory_for_the_object_gives_211) {
    host.on_call("orvu_basedrv_init_driver", [] { fakehost::fail_allocation(1); });
    EXPECT_EQ(orvu_plugin_init(nullptr), 211);
    EXPECT_TRUE(fakehost::allocation_failed());
    EXPECT_THAT(host.call_names(), ElementsAre("orvu_basedrv_init_driver"));
    EXPECT_THAT(host.messages(1), ElementsAre("init kolvessa failed!\n"));
}

TEST_F(Entry, no_subscriber_gives_311_after_a_subscription_with_none) {
    host.fail("orvu_subscriber_new", 1);
    EXPECT_EQ(orvu_plugin_init(nullptr), 311);
    EXPECT_THAT(host.call_names(),
                ElementsAre("orvu_basedrv_init_driver", "orvu_subscriber_new",
                            "orvu_subscriber_subscribe", "orvu_basedrv_unregister_event_notify"));
    EXPECT_EQ(host.calls_of("orvu_subscriber_subscribe")[0].text,
              "null, rule_update_notification, 0");
    EXPECT_THAT(host.messages(1), ElementsAre("init kolvessa failed!\n"));
    EXPECT_EQ(g_kolvessa, nullptr);
}

TEST_F(Entry, a_first_thread_that_does_not_start_gives_21_and_no_tm_kolvessa) {
    host.fail("orvu_thread_start", 9, 1);
    EXPECT_EQ(orvu_plugin_init(nullptr), 21);
    EXPECT_EQ(host.thread_count(), 0U);
    EXPECT_EQ(host.count("orvu_cond_exec_install"), 0U);
    EXPECT_THAT(host.messages(), ElementsAre("kolvessa plugin:ret:21 \n"));
    EXPECT_TRUE(unregistered());
}

TEST_F(Entry, a_second_thread_that_does_not_start_gives_31) {
    host.fail("orvu_thread_start", 9, 2);
    EXPECT_EQ(orvu_plugin_init(nullptr), 31);
    EXPECT_EQ(host.thread_count(), 1U);
    EXPECT_EQ(host.count("orvu_cond_exec_install"), 0U);
    EXPECT_THAT(host.messages(), ElementsAre("create kolvessa the thread suc 1001  \n",
                                             "kolvessa plugin:ret:31 \n"));
    EXPECT_TRUE(unregistered());
}

TEST_F(Entry, a_third_thread_that_does_not_start_gives_51) {
    host.fail("orvu_thread_start", 9, 3);
    EXPECT_EQ(orvu_plugin_init(nullptr), 51);
    EXPECT_EQ(host.thread_count(), 2U);
    EXPECT_EQ(host.count("orvu_cond_exec_install"), 0U);
    EXPECT_THAT(host.messages(1), IsEmpty());
    EXPECT_TRUE(unregistered());
}

TEST_F(Entry, a_failure_takes_off_the_event_handler_after_its_log_line_and_keeps_the_subscriber) {
    host.fail("orvu_thread_start", 9, 3);
    size_t lines = 0;
    host.on_call("orvu_basedrv_unregister_event_notify", [&] { lines = host.log_lines().size(); });
    orvu_plugin_init(nullptr);
    EXPECT_EQ(lines, host.log_lines().size());
    EXPECT_EQ(host.calls_of("orvu_basedrv_unregister_event_notify")[0].text, "1, 0, 65535");
    EXPECT_EQ(g_kolvessa, nullptr);
    EXPECT_NE(g_app_rule_subscriber, 0U);
}

TEST_F(Entry, a_call_after_a_failure_starts_over_with_a_new_object_and_new_threads) {
    host.fail("orvu_thread_start", 9, 3);
    EXPECT_EQ(orvu_plugin_init(nullptr), 51);
    const orvu_subscriber first = g_app_rule_subscriber;
    host.forget_calls();
    EXPECT_EQ(orvu_plugin_init(nullptr), 0);
    EXPECT_THAT(host.call_names(),
                ElementsAre("orvu_basedrv_init_driver", "orvu_subscriber_new",
                            "orvu_subscriber_subscribe", "orvu_thread_start", "orvu_thread_detach",
                            "orvu_thread_start", "orvu_thread_detach", "orvu_thread_start",
                            "orvu_thread_detach", "orvu_cond_exec_install"));
    EXPECT_EQ(host.thread_count(), 5U);
    EXPECT_NE(g_kolvessa, nullptr);
    EXPECT_NE(g_app_rule_subscriber, first);
}

TEST_F(Entry, results_of_the_subscription_the_detaching_and_the_executor_do_not_matter) {
    host.fail("orvu_subscriber_subscribe", 1);
    host.fail("orvu_thread_detach", 1);
    host.fail("orvu_cond_exec_install", 1);
    EXPECT_EQ(orvu_plugin_init(nullptr), 0);
}

}  // namespace
}  // namespace kolvessa
