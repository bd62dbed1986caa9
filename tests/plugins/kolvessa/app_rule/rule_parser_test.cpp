// What a library file may hold and what becomes of it: the grammar's tolerance, the order of the
// elements, duplicates, and what is logged.

#include "plugins/kolvessa/app_rule/rule_parser.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "tests/plugins/kolvessa/app_rule/rule_test.h"

namespace kolvessa {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RuleParserTest : public RuleTest {
  protected:
    // Installs and parses one whole document; gives the result of the re-parse.
    int32_t parse(const std::string& document) {
        install("t", document);
        return store().do_all_parsh_json();
    }
    // Parses one library without a store around it.
    int32_t parse_alone(const std::string& text) {
        return parser_.load_library_json(write("alone.ejs", text).c_str(), "t");
    }
    const StoredElement& element(size_t index) const { return content_.elements[index]; }
    Appids category(const char* path) {
        Appids out;
        EXPECT_EQ(store().get_appids_by_category(out, path), 0) << path;
        return out;
    }
    static AppInfo signed_by(const char* signer) {
        AppInfo info;
        info.signer = fakehost::wide(signer);
        return info;
    }

    RuleContent content_;
    RuleParser parser_{content_};
};

TEST_F(RuleParserTest, a_file_that_can_not_be_opened_gives_1_and_leaves_no_tag) {
    EXPECT_EQ(parser_.load_library_json(path_of("none.ejs").c_str(), "t"), 1);
    EXPECT_THAT(content_.categories.names(CategoryTree::root), IsEmpty());
}

TEST_F(RuleParserTest, a_tag_that_was_read_already_gives_2_and_touches_nothing) {
    ASSERT_EQ(parse_alone(library(rule(1, R"({"signer":"s"})"))), 0);
    EXPECT_EQ(parse_alone(library(rule(2, R"({"signer":"s"})"))), 2);
    EXPECT_EQ(content_.elements.size(), 1U);
    EXPECT_EQ(element(0).appid, 1U);
}

TEST_F(RuleParserTest, loading_logs_path_and_tag) {
    const std::string path = write("x.ejs", "{}");
    ASSERT_EQ(parser_.load_library_json(path.c_str(), "some tag"), 0);
    EXPECT_THAT(host.messages(2),
                ElementsAre("start load rule library json[" + path + "] tag[some tag]\n"));
}

TEST_F(RuleParserTest, a_document_without_apprule_counts_as_read_and_gives_the_tag_alone) {
    for (const char* text : {"{}", "[]", "[1]", R"({"other":1})"}) {
        content_.clear();
        EXPECT_EQ(parse_alone(text), 0) << text;
        EXPECT_THAT(content_.categories.names(CategoryTree::root), ElementsAre("t")) << text;
    }
    EXPECT_THAT(host.messages(1), IsEmpty());
}

TEST_F(RuleParserTest, members_of_the_wrong_type_count_as_absent_and_unknown_ones_are_ignored) {
    ASSERT_EQ(
        parse_alone(R"({"x":1,"apprule":{"category":"c","y":[],"rules":{"appid":1},"item":3}})"),
        0);
    EXPECT_EQ(content_.elements.size(), 0U);
    content_.clear();
    ASSERT_EQ(
        parse_alone(library(
            R"({"appid":"12","z":0,"elements":[{"signer":5,"productname":null,"copyright":["c"],
                      "procpath":{},"iconhash":true,"unknown":"u"}]})")),
        0);
    ASSERT_EQ(content_.elements.size(), 1U);
    EXPECT_EQ(element(0).appid, 0U);
    EXPECT_EQ(element(0).mask, 0U);
}

TEST_F(RuleParserTest, each_field_sets_the_bit_of_its_kind) {
    ASSERT_EQ(
        parse_alone(library(rule(1, R"({"signer":"v"},{"productname":"v"},{"originalname":"v"},
        {"copyright":"v"},{"description":"v"},{"iconhash":"v"},{"procpath":"v"})"))),
        0);
    ASSERT_EQ(content_.elements.size(), 7U);
    for (size_t kind = 0; kind < 7; ++kind) {
        EXPECT_EQ(element(kind).mask, 1U << kind);
    }
}

TEST_F(RuleParserTest, values_are_converted_in_the_order_of_the_fields_whatever_the_document_has) {
    const std::string text = library(rule(1, R"({"procpath":"7","iconhash":"6","description":"5",
        "originalname":"4","productname":"3","copyright":"2","signer":"1"})"));
    // The kind whose value the first, second ... conversion gives.
    const std::vector<uint32_t> order{0, 3, 1, 2, 4, 5};
    for (size_t nth = 1; nth <= order.size(); ++nth) {
        host.reset();
        host.fail("orvu_str_utf8_to_unicode", 1, nth);
        RuleContent content;
        RuleParser parser(content);
        ASSERT_EQ(parser.load_library_json(write("alone.ejs", text).c_str(), "t"), 0);
        EXPECT_EQ(host.count("orvu_str_utf8_to_unicode"), 6U);
        EXPECT_EQ(host.count("orvu_str_free"), 5U);
        const auto values = content.elements.values_of(content.elements[0]);
        ASSERT_EQ(values.size(), 6U);
        for (uint32_t kind = 0; kind < 6; ++kind) {
            EXPECT_EQ(values[kind] == ValueTable::unmatchable, kind == order[nth - 1]) << nth;
        }
    }
}

TEST_F(RuleParserTest, the_low_32_bits_of_an_appid_are_taken_as_unsigned) {
    ASSERT_EQ(
        parse_alone(library(R"({"appid":-1,"elements":[{}]},{"appid":4294967303,"elements":[{}]},
                                     {"appid":1.5,"elements":[{}]})")),
        0);
    ASSERT_EQ(content_.elements.size(), 3U);
    EXPECT_EQ(element(0).appid, 4294967295U);
    EXPECT_EQ(element(1).appid, 7U);
    EXPECT_EQ(element(2).appid, 0U);
}

TEST_F(RuleParserTest, a_rule_without_appid_is_appid_0_and_a_second_one_a_duplicate) {
    ASSERT_EQ(parse(library(R"({"elements":[{"signer":"a"}]},{"elements":[{"signer":"b"}]})")), 0);
    EXPECT_EQ(host.messages(1), Texts{"Existing appid:0,tag:t \n"});
    EXPECT_EQ(appids(signed_by("a")), Appids{0});
    EXPECT_THAT(appids(signed_by("b")), IsEmpty());
}

TEST_F(RuleParserTest, of_two_rules_with_one_appid_in_a_file_the_first_in_document_order_wins) {
    ASSERT_EQ(parse(R"({"apprule":{"category":"top",
        "item":[{"category":"sub","rules":[{"appid":1,"elements":[{"signer":"late"}]}]}],
        "rules":[{"appid":1,"elements":[{"signer":"early"}]}]}})"),
              0);
    EXPECT_EQ(host.messages(1), Texts{"Existing appid:1,tag:t \n"});
    EXPECT_EQ(appids(signed_by("early")), Appids{1});
    EXPECT_THAT(appids(signed_by("late")), IsEmpty());
    EXPECT_THAT(category("t/top/sub"), IsEmpty());
}

TEST_F(RuleParserTest, a_rule_without_an_elements_array_is_skipped_and_its_appid_stays_free) {
    ASSERT_EQ(parse(library(R"({"appid":1},{"appid":1,"elements":{}},5,
                               {"appid":1,"elements":[{"signer":"s"}]})")),
              0);
    EXPECT_THAT(host.messages(1), IsEmpty());
    EXPECT_EQ(appids(signed_by("s")), Appids{1});
    EXPECT_EQ(category("t/all"), Appids{1});
}

TEST_F(RuleParserTest, an_empty_elements_array_leaves_the_appid_in_its_category_and_taken) {
    ASSERT_EQ(
        parse(library(rule(1, "") + "," + rule(1, R"({"signer":"s"})") + "," + rule(2, "{}"))), 0);
    EXPECT_EQ(host.messages(1), Texts{"Existing appid:1,tag:t \n"});
    EXPECT_EQ(category("t"), (Appids{1, 2}));
    EXPECT_THAT(appids(signed_by("s")), IsEmpty());
}

TEST_F(RuleParserTest, a_rule_with_two_elements_gives_two_records_of_one_appid) {
    ASSERT_EQ(parse(library(rule(1, R"({"signer":"a"},{"signer":"b","inherit":1})"))), 0);
    EXPECT_EQ(store().rule_count(), 2U);
    EXPECT_THAT(matches(signed_by("a")), ElementsAre(RuleElement{1, 1, false, "t"}));
    EXPECT_THAT(matches(signed_by("b")), ElementsAre(RuleElement{1, 1, true, "t"}));
}

TEST_F(RuleParserTest, an_element_without_known_attribute_takes_a_position_and_never_matches) {
    ASSERT_EQ(parse(library(rule(1, R"({},{"other":"x"},7,"text",{"signer":"s"})"))), 0);
    EXPECT_EQ(store().rule_count(), 5U);
    EXPECT_EQ(appids(signed_by("s")), Appids{1});
    EXPECT_THAT(appids(AppInfo{}), IsEmpty());
}

TEST_F(RuleParserTest, an_element_whose_signer_is_empty_has_bit_0_and_never_matches) {
    ASSERT_EQ(parse_alone(library(rule(1, R"({"signer":""})"))), 0);
    EXPECT_EQ(element(0).mask, 1U);
    ASSERT_EQ(parse(library(rule(1, R"({"signer":""},{"signer":"s"})"))), 0);
    EXPECT_THAT(appids(AppInfo{}), IsEmpty());
    EXPECT_EQ(appids(signed_by("s")), Appids{1});
}

TEST_F(RuleParserTest, inherit_is_true_for_the_integer_1_alone) {
    ASSERT_EQ(parse_alone(library(rule(1, R"({"inherit":1},{"inherit":2},{"inherit":true},
        {"inherit":"1"},{"inherit":1.0},{"inherit":-1},{"inherit":4294967297},{})"))),
              0);
    ASSERT_EQ(content_.elements.size(), 8U);
    EXPECT_TRUE(element(0).inherit);
    for (size_t i = 1; i < 8; ++i) {
        EXPECT_FALSE(element(i).inherit) << i;
    }
}

TEST_F(RuleParserTest, a_procpath_is_stored_with_small_ascii_letters_all_else_as_it_is) {
    ASSERT_EQ(parse(library(rule(1, R"({"procpath":"\\TOOL*.EXE"},{"procpath":"\u00c4pp"})"))), 0);
    AppInfo info;
    info.procpath = fakehost::wide("c:\\bin\\tool-x.exe");
    EXPECT_EQ(appids(info).size(), 1U);
    info.procpath = fakehost::wide("c:\\\xc3\x84pp");
    EXPECT_EQ(appids(info).size(), 1U);
    info.procpath = fakehost::wide("c:\\\xc3\xa4pp");
    EXPECT_THAT(appids(info), IsEmpty());
}

TEST_F(RuleParserTest, a_value_that_can_not_be_converted_keeps_its_bit_and_never_matches) {
    host.fail_text("bad");
    ASSERT_EQ(
        parse_alone(library(rule(1, R"({"signer":"bad","productname":"p"},{"signer":"bad"})"))), 0);
    EXPECT_EQ(element(0).mask, 3U);
    EXPECT_EQ(element(1).mask, 1U);
    ASSERT_EQ(parse(library(rule(1, R"({"signer":"bad","productname":"p"},{"signer":"bad"},
        {"signer":"bad","procpath":"x"},{"productname":"p"})"))),
              0);
    EXPECT_EQ(store().rule_count(), 4U);
    AppInfo info = signed_by("bad");
    info.productname = fakehost::wide("p");
    info.procpath = fakehost::wide("x");
    EXPECT_THAT(matches(info), ElementsAre(RuleElement{1, 2, false, "t"}));
    EXPECT_THAT(host.messages(1), IsEmpty());
}

TEST_F(RuleParserTest, a_value_that_many_elements_share_is_converted_once_a_document) {
    std::string elements;
    for (int i = 0; i < 100; ++i) {
        elements += std::string(i == 0 ? "" : ",") + R"({"signer":"shared"})";
    }
    ASSERT_EQ(parse(library(rule(1, elements))), 0);
    EXPECT_EQ(host.count("orvu_str_utf8_to_unicode"), 1U);
    EXPECT_EQ(matches(signed_by("shared")).size(), 100U);
}

TEST_F(RuleParserTest, the_same_text_under_two_kinds_is_two_values) {
    ASSERT_EQ(
        parse(library(rule(1, R"({"signer":"v"})") + "," + rule(2, R"({"productname":"v"})"))), 0);
    AppInfo info;
    info.productname = fakehost::wide("v");
    EXPECT_EQ(appids(info), Appids{2});
    EXPECT_EQ(appids(signed_by("v")), Appids{1});
}

TEST_F(RuleParserTest, a_second_category_of_one_name_below_one_parent_is_dropped_silently) {
    ASSERT_EQ(parse(R"({"apprule":{"category":"top","item":[
        {"category":"a","rules":[{"appid":1,"elements":[{"signer":"1"}]}]},
        {"category":"a","rules":[{"appid":2,"elements":[{"signer":"2"}]}],
         "item":[{"category":"b","rules":[{"appid":3,"elements":[{"signer":"3"}]}]}]},
        {"category":"b","item":[{"category":"a","rules":[{"appid":4,"elements":[{"signer":"4"}]}]}]}
        ]}})"),
              0);
    EXPECT_EQ(category("t"), (Appids{1, 4}));
    EXPECT_THAT(appids(signed_by("2")), IsEmpty());
    EXPECT_THAT(appids(signed_by("3")), IsEmpty());
    EXPECT_THAT(host.messages(1), IsEmpty());
}

TEST_F(RuleParserTest, a_node_without_category_is_left_out_with_a_warning_and_the_rest_serves) {
    ASSERT_EQ(parse(R"({"apprule":{"category":"top","item":[
        {"rules":[{"appid":1,"elements":[{"signer":"1"}]}],
         "item":[{"category":"in","rules":[{"appid":2,"elements":[{"signer":"2"}]}]}]},
        {"category":5,"rules":[{"appid":3,"elements":[{"signer":"3"}]}]},
        null, 7,
        {"category":"good","rules":[{"appid":3,"elements":[{"signer":"4"}]}]}]}})"),
              0);
    EXPECT_EQ(host.messages(1), Texts(4, "rule node without category is left out, tag:t \n"));
    EXPECT_EQ(category("t"), Appids{3});
    EXPECT_EQ(appids(signed_by("4")), Appids{3});
    EXPECT_EQ(store().rule_count(), 1U);
}

TEST_F(RuleParserTest, a_top_node_without_category_leaves_the_tag_alone) {
    EXPECT_EQ(parse(R"({"apprule":{"rules":[{"appid":1,"elements":[{"signer":"1"}]}]}})"), 1);
    EXPECT_EQ(host.messages(1), Texts{"rule node without category is left out, tag:t \n"});
    EXPECT_THAT(category("t"), IsEmpty());
}

TEST_F(RuleParserTest, elements_run_in_document_order_own_rules_ahead_of_sub_categories) {
    ASSERT_EQ(parse(R"({"apprule":{"item":[
          {"category":"b","item":[{"category":"bb","rules":[{"appid":3,"elements":[{"signer":"s"}]}]}],
           "rules":[{"appid":2,"elements":[{"signer":"s"}]}]},
          {"category":"a","rules":[{"appid":4,"elements":[{"signer":"s"}]}]}],
        "category":"top","rules":[{"appid":9,"elements":[{"signer":"s"}]},
                                  {"appid":1,"elements":[{"signer":"s"}]}]}})"),
              0);
    EXPECT_EQ(appids(signed_by("s")), (Appids{9, 1, 2, 3, 4}));
    EXPECT_EQ(category("t"), (Appids{9, 1, 4, 2, 3}));
}

TEST_F(RuleParserTest, nodes_as_deep_as_a_document_may_nest_are_parsed) {
    constexpr int depth = 1000;
    std::string text = R"({"apprule":)";
    for (int i = 0; i < depth; ++i) {
        text += R"({"category":"c","item":[)";
    }
    text += R"({"category":"last","rules":[{"appid":1,"elements":[{"signer":"deep"}]}]})";
    for (int i = 0; i < depth; ++i) {
        text += "]}";
    }
    ASSERT_EQ(parse(text + "}"), 0);
    EXPECT_EQ(appids(signed_by("deep")), Appids{1});
    EXPECT_EQ(category("t"), Appids{1});
}

TEST_F(RuleParserTest, at_log_level_2_no_rule_is_dumped) {
    ASSERT_EQ(parse(library(rule(1, R"({"signer":"s"})"))), 0);
    for (const std::string& message : host.messages()) {
        EXPECT_EQ(message.find("appinfo_debug_signal"), std::string::npos) << message;
    }
}

TEST_F(RuleParserTest, at_log_level_3_each_rule_is_dumped_also_those_that_are_skipped) {
    host.set_log_level(3);
    ASSERT_EQ(parse(library(R"({"appid":1,"elements":[{"signer":"s"}]},{"appid":1,"elements":[]},
                               {"appid":2}, 5)")),
              0);
    EXPECT_THAT(
        host.messages(3),
        ElementsAre("appinfo_debug_signal: {\"appid\": 1, \"elements\": [{\"signer\": \"s\"}]}\n",
                    "appinfo_debug_signal: {\"appid\": 1, \"elements\": []}\n",
                    "appinfo_debug_signal: {\"appid\": 2}\n"));
    // The dump stands ahead of the duplicate's warning.
    const Texts all = host.messages();
    const auto dump = std::find_if(all.begin(), all.end(), [](const std::string& message) {
        return message.find("\"elements\": []") != std::string::npos;
    });
    ASSERT_NE(dump, all.end());
    EXPECT_EQ(*(dump + 1), "Existing appid:1,tag:t \n");
}

}  // namespace
}  // namespace kolvessa
