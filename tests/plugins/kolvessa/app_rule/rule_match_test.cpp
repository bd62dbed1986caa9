// An element is a conjunction of what it states; all that match are returned, in load order.

#include <gmock/gmock.h>

#include "tests/plugins/kolvessa/app_rule/rule_test.h"

namespace kolvessa {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RuleMatch : public RuleTest {
  protected:
    static AppInfo info(const char* signer, const char* productname = "",
                        const char* procpath = "") {
        AppInfo result;
        result.signer = fakehost::wide(signer);
        result.productname = fakehost::wide(productname);
        result.procpath = fakehost::wide(procpath);
        return result;
    }
};

TEST_F(RuleMatch, an_element_with_a_signer_alone_matches_every_file_with_it) {
    load(rule(1, R"({"signer":"Maker"})"));
    AppInfo file = info("Maker", "any", "c:\\x");
    file.copyright = file.description = file.iconhash = file.originalname = fakehost::wide("y");
    EXPECT_EQ(appids(file), Appids{1});
    EXPECT_EQ(appids(info("Maker")), Appids{1});
    EXPECT_THAT(appids(info("maker")), IsEmpty());
    EXPECT_THAT(appids(info("Maker ")), IsEmpty());
    EXPECT_THAT(appids(info("Make")), IsEmpty());
}

TEST_F(RuleMatch, signer_and_productname_do_not_match_a_file_that_agrees_on_the_signer_alone) {
    load(rule(1, R"({"signer":"Maker","productname":"Tool"})"));
    EXPECT_THAT(appids(info("Maker", "Other")), IsEmpty());
    EXPECT_THAT(appids(info("Maker")), IsEmpty());
    EXPECT_THAT(appids(info("", "Tool")), IsEmpty());
    EXPECT_EQ(appids(info("Maker", "Tool")), Appids{1});
}

TEST_F(RuleMatch, a_productname_compares_with_case_a_procpath_without_that_of_ascii_letters) {
    load(rule(1, R"({"productname":"Tool"})") + "," + rule(2, R"({"procpath":"\\Tool.EXE"})"));
    EXPECT_THAT(appids(info("", "tool")), IsEmpty());
    EXPECT_EQ(appids(info("", "", "C:\\BIN\\TOOL.exe")), Appids{2});
}

TEST_F(RuleMatch, a_star_in_an_exact_value_is_a_literal_character) {
    load(rule(1, R"({"productname":"To*l"})"));
    EXPECT_THAT(appids(info("", "Tool")), IsEmpty());
    EXPECT_EQ(appids(info("", "To*l")), Appids{1});
}

TEST_F(RuleMatch, procpath_and_signer_match_together_only) {
    load(rule(1, R"({"procpath":"\\app\\*.exe","signer":"Maker"})"));
    EXPECT_EQ(appids(info("Maker", "", "c:\\app\\x.exe")), Appids{1});
    EXPECT_THAT(appids(info("Maker", "", "c:\\other\\x.exe")), IsEmpty());
    EXPECT_THAT(appids(info("Other", "", "c:\\app\\x.exe")), IsEmpty());
    EXPECT_THAT(appids(info("Maker")), IsEmpty());
}

TEST_F(RuleMatch, rules_of_two_libraries_give_two_records_the_lower_tag_first) {
    install("b", library(rule(1, R"({"signer":"s"})")));
    install("a", library(rule(2, R"({"productname":"p","inherit":1})")));
    ASSERT_EQ(store().do_all_parsh_json(), 0);
    EXPECT_THAT(matches(info("s", "p")),
                ElementsAre(RuleElement{2, 2, true, "a"}, RuleElement{1, 1, false, "b"}));
}

TEST_F(RuleMatch, two_matching_elements_of_one_rule_give_two_records_in_document_order) {
    load(rule(1,
              R"({"productname":"p"},{"signer":"s","inherit":1},{"procpath":"x"},{"signer":"n"})"));
    EXPECT_THAT(matches(info("s", "p", "x")),
                ElementsAre(RuleElement{1, 2, false, "default"}, RuleElement{1, 1, true, "default"},
                            RuleElement{1, 64, false, "default"}));
}

TEST_F(RuleMatch, an_empty_file_gives_no_hits) {
    load(rule(1, R"({"signer":""},{"procpath":"x"},{"signer":"","procpath":""},{})"));
    EXPECT_THAT(appids(AppInfo{}), IsEmpty());
}

TEST_F(RuleMatch, an_empty_file_meets_an_empty_procpath_that_stands_beside_other_patterns) {
    load(rule(1, R"({"procpath":""},{"procpath":"x"})"));
    EXPECT_EQ(appids(AppInfo{}), Appids{1});
}

TEST_F(RuleMatch, an_empty_procpath_without_other_patterns_never_matches) {
    load(rule(1, R"({"procpath":""},{"signer":"s"})"));
    EXPECT_FALSE(store().has_path_patterns());
    EXPECT_THAT(appids(info("", "", "c:\\x")), IsEmpty());
    EXPECT_THAT(appids(AppInfo{}), IsEmpty());
    EXPECT_EQ(host.count("orvu_str_unicode_to_utf8"), 0U);
    EXPECT_EQ(appids(info("s")), Appids{1});
}

TEST_F(RuleMatch, records_that_were_there_stay_ahead_of_the_new_ones) {
    load(rule(1, R"({"signer":"s"})"));
    std::vector<RuleElement> found{{9, 9, true, "kept"}};
    EXPECT_EQ(store().match_app_info(info("s"), found), 0);
    EXPECT_THAT(found,
                ElementsAre(RuleElement{9, 9, true, "kept"}, RuleElement{1, 1, false, "default"}));
}

TEST_F(RuleMatch, a_path_that_can_not_be_converted_fails_the_rules_with_procpath_alone) {
    load(rule(1, R"({"procpath":"x","signer":"s"})") + "," + rule(2, R"({"signer":"s"})"));
    host.fail("orvu_str_unicode_to_utf8", 1);
    EXPECT_EQ(appids(info("s", "", "x")), Appids{2});
}

TEST_F(RuleMatch, the_path_is_converted_lowered_and_freed_by_the_host) {
    load(rule(1, R"({"procpath":"x"})"));
    host.record_everything();
    EXPECT_EQ(appids(info("s", "", "X")), Appids{1});
    EXPECT_EQ(host.call_names(),
              (Texts{"orvu_str_unicode_to_utf8", "orvu_str_tolower", "orvu_str_free"}));
}

TEST_F(RuleMatch, a_value_of_the_file_counts_up_to_its_first_nul) {
    load(rule(1, R"({"signer":"Maker"})"));
    AppInfo file = info("Maker");
    file.signer.push_back(0);
    EXPECT_EQ(appids(file), Appids{1});
    file.signer += fakehost::wide("more");
    EXPECT_EQ(appids(file), Appids{1});
}

TEST_F(RuleMatch, every_kind_has_its_own_values) {
    load(rule(1, R"({"signer":"v"})") + "," + rule(2, R"({"productname":"v"})") + "," +
         rule(3, R"({"originalname":"v"})") + "," + rule(4, R"({"copyright":"v"})") + "," +
         rule(5, R"({"description":"v"})") + "," + rule(6, R"({"iconhash":"v"})"));
    AppInfo file;
    file.signer = fakehost::wide("v");
    EXPECT_EQ(appids(file), Appids{1});
    file = {};
    file.productname = fakehost::wide("v");
    EXPECT_EQ(appids(file), Appids{2});
    file = {};
    file.originalname = fakehost::wide("v");
    EXPECT_EQ(appids(file), Appids{3});
    file = {};
    file.copyright = fakehost::wide("v");
    EXPECT_EQ(appids(file), Appids{4});
    file = {};
    file.description = fakehost::wide("v");
    EXPECT_EQ(appids(file), Appids{5});
    file = {};
    file.iconhash = fakehost::wide("v");
    EXPECT_EQ(appids(file), Appids{6});
}

TEST_F(RuleMatch, a_signer_shared_by_many_returns_all_that_state_nothing_else) {
    std::string elements;
    for (int i = 0; i < 5000; ++i) {
        elements += R"({"signer":"shared"},{"signer":"shared","productname":"p)" +
                    std::to_string(i) + R"("},)";
    }
    load(rule(1, elements + "{}"));
    EXPECT_EQ(appids(info("shared")).size(), 5000U);
    EXPECT_EQ(appids(info("shared", "p17")).size(), 5001U);
    EXPECT_THAT(appids(info("other", "p17")), IsEmpty());
}

TEST_F(RuleMatch, a_match_outlives_the_rules_it_came_from) {
    load(rule(1, R"({"signer":"s"})"));
    const auto found = matches(info("s"));
    bool changed = false;
    ASSERT_EQ(store().load_json_from_file(nullptr, "default", changed), 0);
    ASSERT_EQ(store().do_all_parsh_json(), 0);
    EXPECT_THAT(found, ElementsAre(RuleElement{1, 1, false, "default"}));
}

}  // namespace
}  // namespace kolvessa
