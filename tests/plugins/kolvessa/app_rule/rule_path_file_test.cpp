// The list of libraries: which file replaces which, and how the list survives a restart.

#include <gmock/gmock.h>

#include <sstream>

#include "tests/plugins/kolvessa/app_rule/rule_test.h"

namespace kolvessa {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class RulePathFile : public RuleTest {
  protected:
    // The library file NAME with this version and one rule for the signer "s".
    std::string file(const std::string& name, const std::string& version, uint32_t appid = 1) {
        return write(name, R"({"apprule":{)" + version + R"("category":"c","rules":[)" +
                               rule(appid, R"({"signer":"s"})") + "]}}");
    }
    static std::string version(const std::string& number) { return "\"version\":" + number + ","; }

    int32_t set(const std::string& path, const char* tag = "t") {
        return store().load_json_from_file(path.c_str(), tag, changed_);
    }
    std::string entry_path(const char* tag = "t") const {
        return store_->libraries().find(tag)->second.path;
    }
    static std::string quoted(const std::string& text) {
        std::string result = "\"";
        for (const char c : text) {
            result += (c == '\\' ? "\\" : "");
            result += c;
        }
        return result + "\"";
    }
    static std::string entry(const std::string& tag, const std::string& path) {
        std::string result = R"({"tag":)";
        result += quoted(tag);
        result += R"(,"path":)";
        result += quoted(path);
        result += "}";
        return result;
    }
    static std::string list(std::initializer_list<std::string> entries) {
        std::string result;
        for (const std::string& one : entries) {
            result += result.empty() ? '[' : ',';
            result += one;
        }
        result += ']';
        return result;
    }
    AppInfo file_signed() const {
        AppInfo info;
        info.signer = fakehost::wide("s");
        return info;
    }
    Texts list_messages(int32_t level) {
        Texts result;
        for (const std::string& message : host.messages(level)) {
            if (message.find("load_json_from_file ret") != std::string::npos ||
                message.find("rulepath") != std::string::npos) {
                result.push_back(message);
            }
        }
        return result;
    }
    std::string saved() const {
        std::ifstream in(list_path(), std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }

    bool changed_ = false;
};

TEST_F(RulePathFile, a_new_tag_takes_path_and_version_and_is_a_change) {
    const std::string path = file("a.ejs", version("7"));
    EXPECT_EQ(set(path), 0);
    EXPECT_TRUE(changed_);
    EXPECT_EQ(store().get_library_version("t"), 7U);
    EXPECT_EQ(entry_path(), path);
    EXPECT_THAT(host.messages(), IsEmpty());
}

TEST_F(RulePathFile, an_unknown_tag_has_version_0) {
    EXPECT_EQ(store().get_library_version("t"), 0U);
}

TEST_F(RulePathFile, a_file_that_can_not_be_opened_gives_1_and_changes_nothing) {
    changed_ = true;
    EXPECT_EQ(set(path_of("none.ejs")), 1);
    EXPECT_FALSE(changed_);
    EXPECT_THAT(store().libraries(), IsEmpty());
    ASSERT_EQ(set(file("a.ejs", version("7"))), 0);
    EXPECT_EQ(set(path_of("none.ejs")), 1);
    EXPECT_FALSE(changed_);
    EXPECT_EQ(store().get_library_version("t"), 7U);
}

TEST_F(RulePathFile, deleting_an_unknown_tag_gives_2) {
    changed_ = true;
    EXPECT_EQ(store().load_json_from_file(nullptr, "t", changed_), 2);
    EXPECT_FALSE(changed_);
}

TEST_F(RulePathFile, deleting_a_tag_is_a_change) {
    ASSERT_EQ(set(file("a.ejs", version("7"))), 0);
    EXPECT_EQ(store().load_json_from_file(nullptr, "t", changed_), 0);
    EXPECT_TRUE(changed_);
    EXPECT_THAT(store().libraries(), IsEmpty());
    EXPECT_EQ(store().get_library_version("t"), 0U);
}

TEST_F(RulePathFile, a_lower_version_is_passed_over_and_the_old_path_stays) {
    const std::string old_path = file("a.ejs", version("7"));
    ASSERT_EQ(set(old_path), 0);
    EXPECT_EQ(set(file("b.ejs", version("6"))), 0);
    EXPECT_FALSE(changed_);
    EXPECT_EQ(store().get_library_version("t"), 7U);
    EXPECT_EQ(entry_path(), old_path);
    EXPECT_THAT(host.messages(2), ElementsAre("lib ver cur:6 old:7 tag:t \n"));
}

TEST_F(RulePathFile, an_equal_version_replaces_the_path_and_is_no_change) {
    ASSERT_EQ(set(file("a.ejs", version("7"), 1)), 0);
    ASSERT_EQ(store().do_all_parsh_json(), 0);
    const std::string moved = file("b.ejs", version("7"), 2);
    EXPECT_EQ(set(moved), 0);
    EXPECT_FALSE(changed_);
    EXPECT_EQ(entry_path(), moved);
    EXPECT_EQ(appids(file_signed()), Appids{1});
    ASSERT_EQ(store().do_all_parsh_json(), 0);
    EXPECT_EQ(appids(file_signed()), Appids{2});
}

TEST_F(RulePathFile, a_higher_version_replaces_path_and_version_and_is_a_change) {
    ASSERT_EQ(set(file("a.ejs", version("7"))), 0);
    const std::string path = file("b.ejs", version("8"));
    EXPECT_EQ(set(path), 0);
    EXPECT_TRUE(changed_);
    EXPECT_EQ(entry_path(), path);
    EXPECT_EQ(store().get_library_version("t"), 8U);
}

TEST_F(RulePathFile, versions_compare_as_unsigned_numbers) {
    ASSERT_EQ(set(file("a.ejs", version("9223372036854775807"))), 0);
    EXPECT_EQ(set(file("b.ejs", version("-1"))), 0);
    EXPECT_TRUE(changed_);
    EXPECT_EQ(store().get_library_version("t"), UINT64_MAX);
    EXPECT_EQ(set(file("c.ejs", version("1"))), 0);
    EXPECT_FALSE(changed_);
    EXPECT_THAT(host.messages(2), Contains("lib ver cur:1 old:18446744073709551615 tag:t \n"));
}

TEST_F(RulePathFile, a_missing_version_counts_as_0) {
    ASSERT_EQ(set(file("a.ejs", "")), 0);
    EXPECT_TRUE(changed_);
    EXPECT_EQ(store().get_library_version("t"), 0U);
    const std::string second = file("b.ejs", version("\"3\""));
    EXPECT_EQ(set(second), 0);
    EXPECT_FALSE(changed_);
    EXPECT_EQ(entry_path(), second);
    EXPECT_EQ(set(file("c.ejs", version("1"))), 0);
    EXPECT_TRUE(changed_);
    EXPECT_EQ(store().get_library_version("t"), 1U);
}

TEST_F(RulePathFile, a_document_without_apprule_is_taken_with_version_0) {
    EXPECT_EQ(set(write("a.ejs", "[]")), 0);
    EXPECT_TRUE(changed_);
    EXPECT_EQ(store().get_library_version("t"), 0U);
}

TEST_F(RulePathFile, the_tags_follow_the_list) {
    EXPECT_FALSE(store().has_library("t"));
    ASSERT_EQ(set(file("a.ejs", version("7"))), 0);
    EXPECT_TRUE(store().has_library("t"));
    EXPECT_FALSE(store().has_library(""));
    ASSERT_EQ(store().load_json_from_file(nullptr, "t", changed_), 0);
    EXPECT_FALSE(store().library_tags().contains("t"));
}

TEST_F(RulePathFile, a_missing_list_file_gives_1_with_a_warning) {
    EXPECT_EQ(store().load_rulepath_by_file(), 1);
    EXPECT_THAT(host.messages(), ElementsAre("load_rulepath_by_file ret:1\n"));
    EXPECT_EQ(host.messages(1).size(), 1U);
}

TEST_F(RulePathFile, a_list_file_that_is_no_array_gives_1_with_a_warning) {
    write_list(R"({"tag":"t","path":"p"})");
    EXPECT_EQ(store().load_rulepath_by_file(), 1);
    EXPECT_THAT(host.messages(1), ElementsAre("load_rulepath_by_file ret:1\n"));
}

TEST_F(RulePathFile, an_empty_list_does_nothing_and_gives_0) {
    write_list("[]");
    EXPECT_EQ(store().load_rulepath_by_file(), 0);
    EXPECT_THAT(host.messages(), IsEmpty());
}

TEST_F(RulePathFile, a_list_brings_its_libraries_in_and_parses_them_once) {
    const std::string a = file("a.ejs", version("3"), 1);
    const std::string b = file("b.ejs", version("4"), 2);
    write_list(list({entry("b", b), entry("a", a)}));
    EXPECT_EQ(store().load_rulepath_by_file(), 0);
    EXPECT_EQ(store().get_library_version("a"), 3U);
    EXPECT_EQ(store().get_library_version("b"), 4U);
    EXPECT_EQ(appids(file_signed()), (Appids{1, 2}));
    EXPECT_THAT(list_messages(2),
                ElementsAre("file load_json_from_file ret:0 tag:b path:" + b + "\n",
                            "file load_json_from_file ret:0 tag:a path:" + a + "\n"));
    const Texts all = host.messages();
    EXPECT_EQ(
        std::count(all.begin(), all.end(), "start clean all rule library and re-parse all!\n"), 1);
}

TEST_F(RulePathFile, entries_without_tag_or_path_are_logged_with_1_and_2_and_passed_over) {
    const std::string a = file("a.ejs", version("3"));
    write_list(list({R"({"path":"p"})", R"({"tag":"x"})", "{}", "5", R"({"tag":7,"path":"p"})",
                     R"({"tag":"x","path":null})", entry("t", a)}));
    EXPECT_EQ(store().load_rulepath_by_file(), 0);
    EXPECT_THAT(list_messages(2),
                ElementsAre("file load_json_from_file ret:1\n", "file load_json_from_file ret:2\n",
                            "file load_json_from_file ret:1\n", "file load_json_from_file ret:1\n",
                            "file load_json_from_file ret:1\n", "file load_json_from_file ret:2\n",
                            "file load_json_from_file ret:0 tag:t path:" + a + "\n"));
    EXPECT_EQ(store().libraries().size(), 1U);
}

TEST_F(RulePathFile, a_list_that_names_a_missing_library_logs_13_and_the_next_save_drops_it) {
    const std::string none = path_of("none.ejs");
    write_list(list({entry("t", none)}));
    EXPECT_EQ(store().load_rulepath_by_file(), 0);
    EXPECT_THAT(host.messages(),
                ElementsAre("file load_json_from_file ret:13 tag:t path:" + none + "\n"));
    EXPECT_FALSE(store().has_library("t"));
    EXPECT_EQ(store().save_rulepath_to_file(), 0);
    EXPECT_EQ(saved().find("none.ejs"), std::string::npos);
}

TEST_F(RulePathFile, the_result_of_the_reparse_is_ignored) {
    write_list(list({entry("t", write("a.ejs", "{}"))}));
    EXPECT_EQ(store().load_rulepath_by_file(), 0);
    EXPECT_EQ(store().rule_count(), 0U);
    EXPECT_TRUE(store().has_library("t"));
}

TEST_F(RulePathFile, a_list_that_changes_nothing_brings_no_reparse) {
    const std::string a = file("a.ejs", version("3"));
    write_list(list({entry("t", a)}));
    ASSERT_EQ(set(a), 0);
    EXPECT_EQ(store().load_rulepath_by_file(), 0);
    EXPECT_THAT(host.messages(), Not(Contains("start clean all rule library and re-parse all!\n")));
}

TEST_F(RulePathFile, saving_writes_tag_and_path_in_ascending_order_of_the_tags) {
    const std::string a = file("a.ejs", version("1"));
    ASSERT_EQ(set(a, "b"), 0);
    ASSERT_EQ(set(a, "a"), 0);
    ASSERT_EQ(set(a, "B"), 0);
    EXPECT_EQ(store().save_rulepath_to_file(), 0);
    const std::string text = saved();
    EXPECT_LT(text.find("\"B\""), text.find("\"a\""));
    EXPECT_LT(text.find("\"a\""), text.find("\"b\""));
    EXPECT_LT(text.find("\"tag\""), text.find("\"path\""));
    EXPECT_EQ(text.find("version"), std::string::npos);
}

TEST_F(RulePathFile, what_was_saved_comes_back_with_the_versions_of_the_files) {
    const std::string a = file("a.ejs", version("1"));
    ASSERT_EQ(set(a, "one"), 0);
    ASSERT_EQ(set(file("b.ejs", version("2"), 2), "two"), 0);
    ASSERT_EQ(store().save_rulepath_to_file(), 0);
    file("a.ejs", version("5"));
    store_.emplace();
    EXPECT_EQ(store().load_rulepath_by_file(), 0);
    EXPECT_EQ(store().get_library_version("one"), 5U);
    EXPECT_EQ(store().get_library_version("two"), 2U);
    EXPECT_EQ(entry_path("one"), a);
}

TEST_F(RulePathFile, without_libraries_an_empty_array_is_saved) {
    EXPECT_EQ(store().save_rulepath_to_file(), 0);
    EXPECT_EQ(saved().substr(0, 2), "[]");
}

TEST_F(RulePathFile, an_entry_whose_file_can_not_be_parsed_is_saved_all_the_same) {
    ASSERT_EQ(set(write("a.ejs", "{}")), 0);
    EXPECT_EQ(store().do_all_parsh_json(), 1);
    ASSERT_EQ(store().save_rulepath_to_file(), 0);
    EXPECT_NE(saved().find("a.ejs"), std::string::npos);
}

TEST_F(RulePathFile, a_failed_save_is_logged_without_a_line_end_and_its_result_returned) {
    std::filesystem::remove_all(home_ / "bin");
    const int32_t result = store().save_rulepath_to_file();
    EXPECT_NE(result, 0);
    EXPECT_THAT(host.messages(1),
                ElementsAre("save_rulepath_to_file ret:" + std::to_string(result)));
}

TEST_F(RulePathFile, a_list_that_can_not_be_said_whole_leaves_the_saved_one_as_it_is) {
    ASSERT_EQ(set(file("a.ejs", version("1")), "one"), 0);
    ASSERT_EQ(store().save_rulepath_to_file(), 0);
    const std::string before = saved();
    ASSERT_EQ(set(file("b.ejs", version("2"), 2), "no \xFF text"), 0);
    EXPECT_EQ(store().save_rulepath_to_file(), -1);
    EXPECT_EQ(saved(), before);
    EXPECT_THAT(host.messages(1), ElementsAre("save_rulepath_to_file ret:-1"));
}

}  // namespace
}  // namespace kolvessa
