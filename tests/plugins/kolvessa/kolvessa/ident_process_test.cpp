// The decision about one process: matching, relations, inheritance, the report of a failure, and
// what each of them logs.

#include <gmock/gmock.h>

#include "tests/fixtures/pe_fixture.h"
#include "tests/plugins/kolvessa/kolvessa/ident_test.h"

namespace kolvessa {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* add_relation = "orvu_funcdrv_add_appid_pid_relation";
constexpr const char* add_by_parent = "orvu_funcdrv_add_appid_pid_relation_by_parent";

class IdentProcess : public IdentTestBase {
  protected:
    uint32_t ident(uint64_t pid, const char* path, uint64_t parent_pid,
                   bool report_unident = true) {
        const CAutoLock guard(*kolvessa, shared_hold);
        const fakehost::wide_string wide = fakehost::wide(path == nullptr ? "" : path);
        const IdentResult result = kolvessa->ident_process(
            pid, path == nullptr ? nullptr : wide.c_str(), parent_pid, matches, report_unident);
        EXPECT_EQ(result.reserved, 0U);
        return result.code;
    }

    std::vector<uint32_t> matched() const {
        std::vector<uint32_t> appids;
        for (const RuleElement& match : matches) {
            appids.push_back(match.appid);
        }
        return appids;
    }

    std::vector<RuleElement> matches;
};

TEST_F(IdentProcess, an_empty_rule_library_gives_0_without_a_call_or_a_line) {
    EXPECT_EQ(ident(100, "C:\\no\\such\\file.exe", 50), 0U);
    EXPECT_EQ(ident(100, "", 50), 0U);
    EXPECT_EQ(ident(100, nullptr, 50), 0U);
    EXPECT_THAT(host.call_names(), IsEmpty());
    EXPECT_THAT(host.messages(), IsEmpty());
}

TEST_F(IdentProcess, a_match_is_told_with_pid_appid_inherit_path_and_tag) {
    load(two_tool_rules);
    EXPECT_EQ(ident(100, tool_path, 50), 0U);
    const auto calls = host.calls_of(add_relation);
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0].text, "100, 7, 1, C:\\apps\\tool.exe, default");
    EXPECT_EQ(calls[1].text, "100, 8, 0, C:\\apps\\tool.exe, default");
    EXPECT_EQ(host.count(add_by_parent), 0U);
    EXPECT_THAT(host.unidentified(), IsEmpty());
    EXPECT_THAT(host.messages(2),
                ElementsAre("kolvessa:pid:100,appid:7 inherit:1 path:C:\\apps\\tool.exe\n",
                            "kolvessa:pid:100,appid:8 inherit:0 path:C:\\apps\\tool.exe\n"));
    EXPECT_THAT(matched(), ElementsAre(7, 8));
}

TEST_F(IdentProcess, the_framework_gets_all_64_bits_and_the_log_the_low_32) {
    load(tool_rule);
    ident(0x100000064U, tool_path, 0);
    EXPECT_EQ(host.relations().at(0).pid, 0x100000064U);
    EXPECT_THAT(host.messages(2),
                ElementsAre("kolvessa:pid:100,appid:7 inherit:0 path:C:\\apps\\tool.exe\n"));
}

TEST_F(IdentProcess, an_appid_above_31_bits_is_logged_unsigned) {
    load(R"([{"appid":4294967295,"elements":[{"originalname":"tool.exe"}]}])");
    ident(1, tool_path, 0);
    EXPECT_THAT(host.messages(2),
                ElementsAre("kolvessa:pid:1,appid:4294967295 inherit:0 path:C:\\apps\\tool.exe\n"));
}

TEST_F(IdentProcess, pid_4_without_a_path_has_a_signer_alone) {
    load(R"([{"appid":9,"elements":[{"signer":"Microsoft Corporation"}]}])");
    EXPECT_EQ(ident(4, nullptr, 0), 0U);
    EXPECT_THAT(matched(), ElementsAre(9));
    ASSERT_EQ(host.relations().size(), 1U);
    EXPECT_FALSE(host.relations()[0].has_path);
    EXPECT_THAT(host.messages(3),
                ElementsAre("appinfo_debug_compare singer:[Microsoft Corporation] iconhash:[null] "
                            "productname:[null] originalname:[null] copyright:[null] "
                            "description:[null] proc_path:[null]\n"));
    EXPECT_THAT(host.messages(2), ElementsAre("kolvessa:pid:4,appid:9 inherit:0 path:(null)\n"));
}

TEST_F(IdentProcess, pid_4_without_a_path_that_matches_nothing_is_told_about_nowhere) {
    load(tool_rule);
    EXPECT_EQ(ident(4, nullptr, 0), 0U);
    EXPECT_THAT(host.call_names(), IsEmpty());
}

TEST_F(IdentProcess, the_path_of_pid_4_is_its_original_name) {
    load(R"([{"appid":9,"elements":[{"signer":"Microsoft Corporation","originalname":"system"}]},
             {"appid":10,"elements":[{"procpath":"system"}]}])");
    EXPECT_EQ(ident(4, "system", 0), 0U);
    EXPECT_THAT(matched(), ElementsAre(9));
}

TEST_F(IdentProcess, pid_4_never_opens_a_file_whatever_the_path_says) {
    const kolvessa::wide_string wide = pe_fixture::path_of("plain.exe");
    const std::string path(wide.begin(), wide.end());
    load(R"([{"appid":9,"elements":[{"signer":"Somebody"}]},
             {"appid":10,"elements":[{"productname":"Fixture Product"}]},
             {"appid":11,"elements":[{"iconhash":"f601ca27640e2b5856e304cacd1ab0d3"}]}])");
    host.set_signer(path, "Somebody");
    EXPECT_EQ(ident(4, path.c_str(), 0), 0U);
    EXPECT_EQ(host.count("qiv_get_file_sign_w"), 0U);
    EXPECT_THAT(matched(), IsEmpty());
    // The same file under another pid has all three.
    EXPECT_EQ(ident(5, path.c_str(), 0), 0U);
    EXPECT_EQ(host.count("qiv_get_file_sign_w"), 1U);
    EXPECT_THAT(matched(), ElementsAre(9, 10, 11));
}

TEST_F(IdentProcess, one_accepted_relation_of_two_is_enough) {
    load(two_tool_rules);
    host.set_relation_policy([](const auto& relation) { return relation.appid == 7 ? 1 : 0; });
    EXPECT_EQ(ident(100, tool_path, 50), 0U);
    EXPECT_THAT(host.messages(2),
                ElementsAre("kolvessa:pid:100,appid:8 inherit:0 path:C:\\apps\\tool.exe\n"));
    EXPECT_THAT(host.unidentified(), IsEmpty());
}

TEST_F(IdentProcess, a_refusal_behind_an_accepted_relation_changes_nothing) {
    load(two_tool_rules);
    host.set_relation_policy([](const auto& relation) { return relation.appid == 8 ? -5 : 0; });
    EXPECT_EQ(ident(100, tool_path, 50), 0U);
    EXPECT_EQ(host.count(add_relation), 2U);
    EXPECT_THAT(host.unidentified(), IsEmpty());
}

TEST_F(IdentProcess, two_refused_relations_give_3_and_an_unidentified_application) {
    load(two_tool_rules);
    host.fail(add_relation, 1);
    EXPECT_EQ(ident(100, tool_path, 50), 3U);
    EXPECT_THAT(host.unidentified(), ElementsAre(tool_path));
    EXPECT_THAT(host.messages(2), ElementsAre("kolvessa failed:3 ,pid:100,parrentid:50 "
                                              "path:C:\\apps\\tool.exe\n"));
    EXPECT_THAT(matched(), ElementsAre(7, 8));
    EXPECT_EQ(host.count(add_by_parent), 0U);
}

TEST_F(IdentProcess, no_match_and_no_parent_is_no_failure) {
    load(tool_rule);
    EXPECT_EQ(ident(100, other_path, 0), 0U);
    EXPECT_THAT(host.unidentified(), IsEmpty());
    EXPECT_EQ(host.count(add_by_parent), 0U);
    EXPECT_THAT(host.messages(2), IsEmpty());
}

TEST_F(IdentProcess, no_match_takes_over_the_parents_appids) {
    load(tool_rule);
    EXPECT_EQ(ident(100, other_path, 0x200000032U), 0U);
    EXPECT_EQ(host.calls_of(add_by_parent).at(0).text, "100, 8589934642");
    EXPECT_THAT(host.messages(2),
                ElementsAre("kolvessa parent:pid:100,parrentid:50 path:C:\\apps\\other.exe\n"));
    EXPECT_THAT(host.unidentified(), IsEmpty());
}

TEST_F(IdentProcess, a_refused_inheritance_gives_4_and_an_unidentified_application) {
    load(tool_rule);
    host.set_parent_policy([](uint64_t, uint64_t) { return 1; });
    EXPECT_EQ(ident(100, other_path, 50), 4U);
    EXPECT_THAT(host.unidentified(), ElementsAre(other_path));
    EXPECT_THAT(host.messages(2), ElementsAre("kolvessa failed:4 ,pid:100,parrentid:50 "
                                              "path:C:\\apps\\other.exe\n"));
}

TEST_F(IdentProcess, an_empty_path_without_path_rules_gives_1) {
    load(tool_rule);
    EXPECT_EQ(ident(100, "", 50), 1U);
    EXPECT_THAT(host.unidentified(), ElementsAre(""));
    EXPECT_EQ(host.count(add_by_parent), 0U);
    EXPECT_THAT(host.messages(3), IsEmpty());
}

TEST_F(IdentProcess, a_failure_that_is_not_reported_is_still_logged) {
    load(tool_rule);
    EXPECT_EQ(ident(100, "", 50, false), 1U);
    EXPECT_THAT(host.unidentified(), IsEmpty());
    EXPECT_THAT(host.messages(2), ElementsAre("kolvessa failed:1 ,pid:100,parrentid:50 path:\n"));
}

TEST_F(IdentProcess, the_unidentified_report_comes_before_the_failure_line) {
    load(tool_rule);
    size_t lines = 99;
    host.on_call("orvu_funcdrv_add_unident_app_relation", [&] { lines = host.messages(2).size(); });
    ident(100, "", 50);
    EXPECT_EQ(lines, 0U);
}

TEST_F(IdentProcess, the_result_of_the_unidentified_report_does_not_matter) {
    load(tool_rule);
    host.fail("orvu_funcdrv_add_unident_app_relation", 7);
    EXPECT_EQ(ident(100, "", 50), 1U);
}

TEST_F(IdentProcess, a_null_path_is_no_attribute) {
    load(tool_rule);
    EXPECT_EQ(ident(100, nullptr, 0, false), 1U);
}

TEST_F(IdentProcess, a_file_that_has_vanished_is_identified_by_name_and_path) {
    load(R"([{"appid":7,"elements":[{"originalname":"tool.exe"}]},
             {"appid":8,"elements":[{"procpath":"apps\\tool"}]}])");
    EXPECT_EQ(ident(100, tool_path, 0), 0U);
    EXPECT_THAT(matched(), ElementsAre(7, 8));
}

TEST_F(IdentProcess, pid_0_makes_a_path_relation_with_pid_0) {
    load(tool_rule);
    EXPECT_EQ(ident(0, tool_path, 0, false), 0U);
    EXPECT_EQ(host.calls_of(add_relation).at(0).text, "0, 7, 0, C:\\apps\\tool.exe, default");
}

TEST_F(IdentProcess, the_debug_line_shows_the_path_as_given_and_null_for_what_is_empty) {
    load(R"([{"appid":7,"elements":[{"originalname":"Tool.exe"}]},
             {"appid":8,"elements":[{"procpath":"apps"}]}])");
    host.set_signer("C:\\Apps\\Tool.exe", "Some Body");
    ident(100, "C:\\Apps\\Tool.exe", 0);
    EXPECT_THAT(host.messages(3),
                ElementsAre("appinfo_debug_compare singer:[Some Body] iconhash:[null] "
                            "productname:[null] originalname:[Tool.exe] copyright:[null] "
                            "description:[null] proc_path:[C:\\Apps\\Tool.exe]\n"));
}

TEST_F(IdentProcess, the_debug_line_shows_an_empty_path_as_nothing) {
    load(R"([{"appid":8,"elements":[{"procpath":"apps"}]}])");
    EXPECT_EQ(ident(100, "", 0), 0U);
    EXPECT_THAT(host.messages(3),
                ElementsAre("appinfo_debug_compare singer:[null] iconhash:[null] "
                            "productname:[null] originalname:[null] copyright:[null] "
                            "description:[null] proc_path:[]\n"));
}

TEST_F(IdentProcess, a_value_that_can_not_be_converted_is_null_in_the_debug_line) {
    load(tool_rule);
    host.fail("orvu_str_unicode_to_utf8", 1);
    EXPECT_EQ(ident(100, tool_path, 0), 0U);
    EXPECT_THAT(host.messages(3),
                ElementsAre("appinfo_debug_compare singer:[null] iconhash:[null] "
                            "productname:[null] originalname:[null] copyright:[null] "
                            "description:[null] proc_path:[null]\n"));
}

TEST_F(IdentProcess, below_level_3_nothing_is_converted_for_the_debug_line) {
    load(tool_rule);
    host.set_log_level(2);
    const size_t before = host.count("orvu_str_unicode_to_utf8");
    ident(100, tool_path, 0);
    EXPECT_EQ(host.count("orvu_str_unicode_to_utf8"), before);
    EXPECT_THAT(host.messages(3), IsEmpty());
}

TEST_F(IdentProcess, it_takes_no_lock_of_its_own) {
    load(tool_rule);
    const size_t before = host.count("orvu_rwlock_shared_acquire");
    ident(100, tool_path, 0);
    EXPECT_EQ(host.count("orvu_rwlock_shared_acquire"), before + 1);  // the test's
    EXPECT_EQ(host.count("orvu_rwlock_exclusive_acquire"), 0U);
}

}  // namespace
}  // namespace kolvessa
