// The executor tm_kolvessa tells whether rule libraries with the tags that a condition names are
// installed, when it is attached and at every refresh.

#include "plugins/kolvessa/app_main/conditions.h"

#include <gmock/gmock.h>

#include "tests/fakehost/failing_new.h"
#include "tests/plugins/kolvessa/app_main/plugin_test.h"

namespace kolvessa {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* executor = "tm_kolvessa";
constexpr const char* rule = R"([{"appid":7,"elements":[{"originalname":"tool.exe"}]}])";

class Conditions : public PluginTest {
  protected:
    void SetUp() override {
        PluginTest::SetUp();
        ASSERT_EQ(orvu_plugin_init(nullptr), 0);
    }

    // The table lives as long as the process: nothing may stay in it.
    void TearDown() override {
        for (const orvu_cond condition : attached_) {
            host.detach(executor, condition);
        }
        PluginTest::TearDown();
    }

    orvu_cond attach(const char* param) {
        attached_.push_back(host.attach(executor, param));
        return attached_.back();
    }

    // Makes the tags those of the installed libraries, as a start finds them in the list file.
    void install(const std::vector<std::string>& tags) {
        std::vector<std::pair<std::string, std::string>> list;
        for (const std::string& tag : tags) {
            home.install(tag, rule);
            list.emplace_back(tag, home.framework_path(tag + ".json"));
        }
        home.write_list(list);
        ASSERT_EQ(g_kolvessa.load()->kolvessa_start(), 0);
    }

    std::vector<int32_t> states() const {
        std::vector<int32_t> result;
        for (const auto& report : host.condition_results()) {
            result.push_back(report.state);
        }
        return result;
    }

  private:
    std::vector<orvu_cond> attached_;
};

TEST_F(Conditions, one_that_names_installed_tags_alone_is_fulfilled) {
    install({"default", "shop"});
    attach(R"({"type":["shop","default"]})");
    EXPECT_THAT(states(), ElementsAre(1));
}

TEST_F(Conditions, one_that_names_an_unknown_tag_turns_at_the_first_refresh_after_it_arrives) {
    install({"default"});
    attach(R"({"type":["default","shop"]})");
    EXPECT_THAT(states(), ElementsAre(0));
    conditions_refresh();
    EXPECT_THAT(states(), ElementsAre(0, 0));
    install({"default", "shop"});
    EXPECT_THAT(states(), ElementsAre(0, 0));
    conditions_refresh();
    EXPECT_THAT(states(), ElementsAre(0, 0, 1));
}

TEST_F(Conditions, every_string_of_the_array_is_kept_behind_an_unknown_one) {
    attach(R"({"type":["gone","late"]})");
    install({"gone"});
    conditions_refresh();
    EXPECT_THAT(states(), ElementsAre(0, 0));
}

TEST_F(Conditions, an_empty_or_absent_array_is_fulfilled) {
    attach(R"({"type":[]})");
    attach(R"({})");
    attach(R"({"other":["x"]})");
    attach(nullptr);
    EXPECT_THAT(states(), ElementsAre(1, 1, 1, 1));
}

TEST_F(Conditions, a_type_that_is_no_array_counts_as_absent) {
    attach(R"({"type":"default"})");
    attach(R"({"type":{"default":1}})");
    attach(R"({"type":3})");
    attach(R"(["type"])");
    EXPECT_THAT(states(), ElementsAre(1, 1, 1, 1));
}

TEST_F(Conditions, an_element_that_is_no_string_can_not_be_present_and_is_not_kept) {
    install({"default"});
    attach(R"({"type":["default",3,null]})");
    EXPECT_THAT(states(), ElementsAre(0));
    conditions_refresh();
    EXPECT_THAT(states(), ElementsAre(0, 1));
}

TEST_F(Conditions, one_without_attributes_is_fulfilled) {
    host.fail("orvu_cond_get_attr", 1);
    attach(R"({"type":["default"]})");
    EXPECT_THAT(states(), ElementsAre(1));
}

TEST_F(Conditions, one_that_finds_no_memory_is_not_fulfilled_and_keeps_all_its_strings_or_none) {
    const std::string installed(40, 'a');  // too long to be kept without memory of its own
    install({installed});
    const std::string param = R"({"type":[")" + installed + R"(","zzz"]})";
    size_t failures = 0;
    for (size_t nth = 1;; ++nth) {
        bool failed = false;
        host.on_call("orvu_cond_get_attr", [nth] { fakehost::fail_allocation(nth); });
        host.on_call("orvu_cond_res_changed", [&failed] {
            failed = failed || fakehost::allocation_failed();
            fakehost::fail_allocation(0);
        });
        attach(param.c_str());
        host.on_call("orvu_cond_get_attr", {});
        host.on_call("orvu_cond_res_changed", {});
        EXPECT_THAT(states(), ElementsAre(0)) << nth;
        host.forget_calls();
        if (!failed) {
            break;
        }
        ++failures;
        // The installed one alone would be fulfilled.
        conditions_refresh();
        EXPECT_THAT(states(), Each(0)) << nth;
        host.forget_calls();
    }
    EXPECT_GE(failures, 4U);
}

TEST_F(Conditions, a_tag_is_compared_byte_by_byte) {
    install({"default"});
    attach(R"({"type":["Default"]})");
    attach(R"({"type":["defaul"]})");
    attach(R"({"type":["default "]})");
    attach(R"({"type":[""]})");
    EXPECT_THAT(states(), ElementsAre(0, 0, 0, 0));
}

TEST_F(Conditions, an_attach_of_a_live_condition_adds_to_its_strings) {
    install({"default"});
    const orvu_cond condition = attach(R"({"type":["shop"]})");
    host.operate(executor, condition, 0);
    EXPECT_THAT(states(), ElementsAre(0, 0));
    conditions_refresh();
    EXPECT_EQ(states().size(), 3U);
}

TEST_F(Conditions, a_detach_reports_fulfilled_and_ends_the_reports) {
    const orvu_cond condition = host.attach(executor, R"({"type":["shop"]})");
    host.detach(executor, condition);
    EXPECT_THAT(states(), ElementsAre(0, 1));
    conditions_refresh();
    EXPECT_THAT(states(), ElementsAre(0, 1));
}

TEST_F(Conditions, a_detach_of_an_unknown_condition_reports_fulfilled) {
    host.detach(executor, 77);
    EXPECT_THAT(states(), ElementsAre(1));
}

TEST_F(Conditions, an_unknown_operation_reports_fulfilled_and_changes_nothing) {
    const orvu_cond condition = attach(R"({"type":["shop"]})");
    host.operate(executor, condition, 2);
    host.operate(executor, condition, -1);
    EXPECT_THAT(states(), ElementsAre(0, 1, 1));
    conditions_refresh();
    EXPECT_THAT(states(), ElementsAre(0, 1, 1, 0));
}

TEST_F(Conditions, a_refresh_reports_every_condition_in_ascending_order) {
    const orvu_cond first = attach(R"({"type":["shop"]})");
    const orvu_cond second = attach(R"({"type":[]})");
    const orvu_cond third = attach(R"({"type":["default"]})");
    install({"default"});
    host.forget_calls();
    conditions_refresh();
    const auto reports = host.condition_results();
    ASSERT_EQ(reports.size(), 3U);
    EXPECT_EQ(reports[0].condition, first);
    EXPECT_EQ(reports[1].condition, second);
    EXPECT_EQ(reports[2].condition, third);
    EXPECT_THAT(states(), ElementsAre(0, 1, 1));
}

TEST_F(Conditions, a_refresh_without_conditions_reports_nothing) {
    conditions_refresh();
    EXPECT_THAT(states(), IsEmpty());
}

TEST_F(Conditions, the_further_words_of_a_result_are_zero) {
    const orvu_cond condition = attach(R"({"type":["shop"]})");
    host.operate(executor, condition, 5);
    conditions_refresh();
    for (const auto& report : host.condition_results()) {
        EXPECT_EQ(report.reserved[0], 0U);
        EXPECT_EQ(report.reserved[1], 0U);
    }
}

TEST_F(Conditions, no_lock_of_the_rules_is_held_or_waited_for) {
    CKolvessa* const kolvessa = g_kolvessa;
    const CAutoLock change(*kolvessa);
    attach(R"({"type":["shop"]})");
    conditions_refresh();
    EXPECT_THAT(states(), ElementsAre(0, 0));
    EXPECT_EQ(host.count("orvu_rwlock_shared_acquire"), 0U);
}

TEST_F(Conditions, a_library_change_between_answer_and_report_is_reported_after_all) {
    bool changed = false;
    host.on_call("orvu_cond_res_changed", [&] {
        if (!changed) {
            changed = true;
            install({"shop"});
            conditions_refresh();
        }
    });
    attach(R"({"type":["shop"]})");
    // The refresh inside reported 1, the overtaken answer came after it, and was put right.
    EXPECT_EQ(states().back(), 1);
    host.on_call("orvu_cond_res_changed", {});
}

TEST_F(Conditions, a_detach_from_within_a_report_is_borne) {
    orvu_cond condition = attach(R"({"type":["shop"]})");
    bool detached = false;
    host.on_call("orvu_cond_res_changed", [&] {
        if (!detached) {
            detached = true;
            host.detach(executor, condition);
        }
    });
    conditions_refresh();
    host.on_call("orvu_cond_res_changed", {});
    host.forget_calls();
    conditions_refresh();
    EXPECT_THAT(states(), IsEmpty());
}

TEST_F(Conditions, without_an_initialised_plugin_no_library_is_there) {
    install({"default"});
    CKolvessa* const kolvessa = g_kolvessa.exchange(nullptr);
    attach(R"({"type":["default"]})");
    EXPECT_THAT(states(), ElementsAre(0));
    g_kolvessa = kolvessa;
}

}  // namespace
}  // namespace kolvessa
