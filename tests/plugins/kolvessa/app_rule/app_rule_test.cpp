// A re-parse empties the store, reads the libraries in the order of their tags, retries what can't
// be read, and serves what was read; categories answer for their appids.

#include "plugins/kolvessa/app_rule/app_rule.h"

#include <gmock/gmock.h>

#include "tests/plugins/kolvessa/app_rule/rule_test.h"

namespace kolvessa {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* start_line = "start clean all rule library and re-parse all!\n";

class AppRule : public RuleTest {
  protected:
    std::string loading(const std::string& tag) const {
        return "start load rule library json[" + path_of(tag + ".ejs") + "] tag[" + tag + "]\n";
    }
    std::string failure(const std::string& tag, int count) const {
        return "load appid library[" + path_of(tag + ".ejs") + "] fail! ret[1] try count[" +
               std::to_string(count) + "]\n";
    }
    int32_t category(const std::string& path, Appids& out) {
        return store().get_appids_by_category(out, path.c_str());
    }
    // A library that was installed and whose file has then gone.
    void install_and_lose(const std::string& tag) {
        install(tag, library(rule(1, R"({"signer":"gone"})")));
        std::filesystem::remove(path_of(tag + ".ejs"));
    }
};

AppInfo signed_by(const char* signer) {
    AppInfo info;
    info.signer = fakehost::wide(signer);
    return info;
}

TEST_F(AppRule, is_empty_after_construction) {
    Appids out{1};
    EXPECT_EQ(store().rule_count(), 0U);
    EXPECT_FALSE(store().has_path_patterns());
    EXPECT_EQ(category("default", out), 2);
    EXPECT_THAT(out, IsEmpty());
    EXPECT_THAT(matches(signed_by("x")), IsEmpty());
}

TEST_F(AppRule, the_list_file_stands_in_the_folder_of_the_running_program) {
    EXPECT_TRUE(store().rule_path_file().ends_with("\\bin\\kolvessa_rule_path.ejs"));
    EXPECT_EQ(store().rule_path_file().find('/'), std::string::npos);
}

TEST_F(AppRule, a_reparse_without_libraries_logs_one_line_and_returns_0) {
    EXPECT_EQ(store().do_all_parsh_json(), 0);
    EXPECT_THAT(host.messages(), ElementsAre(start_line));
    EXPECT_EQ(host.count("orvu_msleep"), 0U);
}

TEST_F(AppRule, deleting_the_last_library_empties_the_store_without_a_failure) {
    load(rule(1, R"({"signer":"s","procpath":"p"})"));
    EXPECT_EQ(store().rule_count(), 1U);
    EXPECT_TRUE(store().has_path_patterns());
    bool changed = false;
    ASSERT_EQ(store().load_json_from_file(nullptr, "default", changed), 0);
    EXPECT_EQ(store().do_all_parsh_json(), 0);
    Appids out;
    EXPECT_EQ(store().rule_count(), 0U);
    EXPECT_FALSE(store().has_path_patterns());
    EXPECT_EQ(category("default", out), 2);
}

TEST_F(AppRule, an_absent_file_is_tried_ten_times_with_a_pause_after_each_then_1) {
    install_and_lose("a");
    host.forget_calls();
    EXPECT_EQ(store().do_all_parsh_json(), 1);

    Texts expected{start_line};
    for (int count = 1; count <= 10; ++count) {
        expected.push_back(loading("a"));
        expected.push_back(failure("a", count));
    }
    EXPECT_EQ(host.messages(), expected);
    EXPECT_EQ(host.messages(1).size(), 10U);
    const auto pauses = host.calls_of("orvu_msleep");
    ASSERT_EQ(pauses.size(), 10U);
    for (const auto& pause : pauses) {
        EXPECT_EQ(pause.text, "500");
    }
}

TEST_F(AppRule, a_file_that_is_no_json_is_retried_like_an_absent_one) {
    install_and_lose("a");
    write("a.ejs", "{\"apprule\":");
    EXPECT_EQ(store().do_all_parsh_json(), 1);
    EXPECT_EQ(host.calls_of("orvu_msleep").size(), 10U);
}

TEST_F(AppRule, a_file_that_comes_back_during_the_pauses_is_read) {
    install_and_lose("a");
    int pauses = 0;
    host.on_call("orvu_msleep", [&] {
        if (++pauses == 3) {
            write("a.ejs", library(rule(7, R"({"signer":"back"})")));
        }
    });
    EXPECT_EQ(store().do_all_parsh_json(), 0);
    EXPECT_EQ(pauses, 3);
    EXPECT_EQ(appids(signed_by("back")), Appids{7});
}

TEST_F(AppRule, one_good_library_beside_an_absent_one_is_served_and_gives_0) {
    install_and_lose("a");
    install("b", library(rule(5, R"({"signer":"s"})")));
    EXPECT_EQ(store().do_all_parsh_json(), 0);
    EXPECT_EQ(host.calls_of("orvu_msleep").size(), 10U);
    EXPECT_EQ(appids(signed_by("s")), Appids{5});
    Appids out;
    EXPECT_EQ(category("a", out), 2);
    EXPECT_EQ(category("b", out), 0);
}

TEST_F(AppRule, a_library_without_rules_gives_its_tag_no_element_and_alone_result_1) {
    install("a", R"({"apprule":{"category":"all"}})");
    EXPECT_EQ(store().do_all_parsh_json(), 1);
    EXPECT_EQ(host.calls_of("orvu_msleep").size(), 0U);
    Appids out{9};
    EXPECT_EQ(category("a", out), 0);
    EXPECT_THAT(out, IsEmpty());
}

TEST_F(AppRule, after_result_1_the_tags_of_the_files_that_were_read_stay) {
    install("read", R"({"apprule":{"category":"all","rules":[{"appid":3,"elements":[]}]}})");
    install("without", "{}");
    install_and_lose("gone");
    EXPECT_EQ(store().do_all_parsh_json(), 1);
    EXPECT_EQ(store().rule_count(), 0U);
    Appids out;
    EXPECT_EQ(category("read", out), 0);
    EXPECT_EQ(category("without", out), 0);
    EXPECT_EQ(category("gone", out), 2);
}

TEST_F(AppRule, a_failed_reparse_does_not_bring_the_old_rules_back) {
    load(rule(1, R"({"signer":"old"})"));
    write("default.ejs", "{}");
    EXPECT_EQ(store().do_all_parsh_json(), 1);
    EXPECT_EQ(store().rule_count(), 0U);
    EXPECT_THAT(matches(signed_by("old")), IsEmpty());
}

TEST_F(AppRule, a_reparse_reads_every_library_again_from_its_file) {
    install("a", library(rule(1, R"({"signer":"a"})")));
    install("b", library(rule(2, R"({"signer":"b"})")));
    ASSERT_EQ(store().do_all_parsh_json(), 0);
    write("a.ejs", library(rule(3, R"({"signer":"a"})")));
    ASSERT_EQ(store().do_all_parsh_json(), 0);
    EXPECT_EQ(appids(signed_by("a")), Appids{3});
    EXPECT_EQ(appids(signed_by("b")), Appids{2});
}

TEST_F(AppRule, libraries_are_read_in_bytewise_order_of_their_tags_a_shorter_prefix_first) {
    for (const char* tag : {"b", "ab", "a", "B", "\xc3\xa9"}) {
        bool changed = false;
        const std::string path = write("one.ejs", library(rule(1, R"({"signer":"s"})")));
        ASSERT_EQ(store().load_json_from_file(path.c_str(), tag, changed), 0);
    }
    host.reset();
    host.set_log_level(2);
    EXPECT_EQ(store().do_all_parsh_json(), 0);
    Texts tags;
    for (const std::string& message : host.messages(2)) {
        if (const auto at = message.find("tag["); at != std::string::npos) {
            tags.push_back(message.substr(at + 4, message.size() - at - 6));
        }
    }
    EXPECT_THAT(tags, ElementsAre("B", "a", "ab", "b", "\xc3\xa9"));
}

TEST_F(AppRule, of_two_libraries_with_one_appid_the_first_tag_keeps_it_whatever_came_first) {
    install("b", library(rule(1, R"({"signer":"b"},{"signer":"b2"})")));
    install("a", library(rule(1, R"({"signer":"a"})")));
    EXPECT_EQ(store().do_all_parsh_json(), 0);
    EXPECT_EQ(host.messages(1), Texts{"Existing appid:1,tag:b \n"});
    EXPECT_EQ(store().rule_count(), 1U);
    EXPECT_THAT(matches(signed_by("a")), ElementsAre(RuleElement{1, 1, false, "a"}));
    EXPECT_THAT(matches(signed_by("b")), IsEmpty());
    EXPECT_THAT(matches(signed_by("b2")), IsEmpty());
}

// The tree of one library, with categories out of order:
//   top [1] -> zoo [2], ant [3] -> in [4]
constexpr const char* tree = R"({"apprule":{"category":"top","rules":[{"appid":1,"elements":[{}]}],
    "item":[{"category":"zoo","rules":[{"appid":2,"elements":[]}]},
            {"category":"ant","rules":[{"appid":3,"elements":[{}]}],
             "item":[{"category":"in","rules":[{"appid":4,"elements":[{}]}]}]}]}})";

TEST_F(AppRule, a_category_path_of_the_tag_alone_gives_all_appids_depth_first_names_ascending) {
    install("t", tree);
    ASSERT_EQ(store().do_all_parsh_json(), 0);
    Appids out{99};
    EXPECT_EQ(category("t", out), 0);
    EXPECT_THAT(out, ElementsAre(1, 3, 4, 2));
}

TEST_F(AppRule, a_longer_category_path_gives_what_stands_at_and_below_it) {
    install("t", tree);
    ASSERT_EQ(store().do_all_parsh_json(), 0);
    Appids out;
    EXPECT_EQ(category("t/top", out), 0);
    EXPECT_THAT(out, ElementsAre(1, 3, 4, 2));
    EXPECT_EQ(category("t/top/ant", out), 0);
    EXPECT_THAT(out, ElementsAre(3, 4));
    EXPECT_EQ(category("t/top/ant/in", out), 0);
    EXPECT_THAT(out, ElementsAre(4));
    EXPECT_EQ(category("t/top/zoo", out), 0);
    EXPECT_THAT(out, ElementsAre(2));
}

TEST_F(AppRule, an_unknown_tag_gives_2_an_unknown_category_below_it_3_and_no_appids) {
    install("t", tree);
    ASSERT_EQ(store().do_all_parsh_json(), 0);
    Appids out{1};
    EXPECT_EQ(category("u", out), 2);
    EXPECT_THAT(out, IsEmpty());
    EXPECT_EQ(category("top", out), 2);
    out = {1};
    EXPECT_EQ(category("t/ant", out), 3);
    EXPECT_THAT(out, IsEmpty());
    EXPECT_EQ(category("t/top/ant/in/more", out), 3);
    EXPECT_EQ(category("t/TOP", out), 3);
}

TEST_F(AppRule, a_category_path_that_does_not_split_gives_1) {
    install("t", tree);
    ASSERT_EQ(store().do_all_parsh_json(), 0);
    Appids out{1};
    host.fail("orvu_str_split", 1);
    EXPECT_EQ(category("t", out), 1);
    EXPECT_THAT(out, IsEmpty());
    EXPECT_EQ(store().get_appids_by_category(out, nullptr), 1);
}

TEST_F(AppRule, each_library_of_a_category_question_stands_on_its_own) {
    install("a", library(rule(1, "{}")));
    install("b", library(rule(2, "{}")));
    ASSERT_EQ(store().do_all_parsh_json(), 0);
    Appids out;
    EXPECT_EQ(category("a/all", out), 0);
    EXPECT_THAT(out, ElementsAre(1));
    EXPECT_EQ(category("b/all", out), 0);
    EXPECT_THAT(out, ElementsAre(2));
}

}  // namespace
}  // namespace kolvessa
