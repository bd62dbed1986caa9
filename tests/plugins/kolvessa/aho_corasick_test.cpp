// What the matcher promises, case by case: which patterns are found in which text, in which order
// and how often, what an empty pattern does, and what add, build and clear leave behind.

#include "plugins/kolvessa/aho_corasick.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kolvessa {
namespace {

using ids = std::vector<uint32_t>;
using words = std::vector<std::string>;

CAhoCorasick built(const words& patterns) {
    CAhoCorasick matcher;
    for (uint32_t id = 0; id < patterns.size(); ++id) {
        matcher.add_pattern(patterns[id], id);
    }
    matcher.build();
    return matcher;
}

ids search(const CAhoCorasick& matcher, std::string_view text) {
    ids results;
    matcher.search(text, results);
    return results;
}

// The patterns found, as they were given.
words found(const words& patterns, std::string_view text) {
    words names;
    for (const uint32_t id : search(built(patterns), text)) {
        names.push_back(patterns[id]);
    }
    return names;
}

const words kNone;

TEST(AhoCorasick, a_pattern_is_found_wherever_it_stands) {
    EXPECT_EQ(found({"abc"}, "xabcy"), words{"abc"});
    EXPECT_EQ(found({"abc"}, "abc"), words{"abc"});
    EXPECT_EQ(found({"abc"}, "ababc"), words{"abc"});
    EXPECT_EQ(found({"abc"}, "abd"), kNone);
    EXPECT_EQ(found({"abc"}, "ab"), kNone);
    EXPECT_EQ(found({"abc"}, ""), kNone);
}

TEST(AhoCorasick, overlapping_patterns_are_all_found) {
    EXPECT_EQ(found({"he", "she", "his", "hers"}, "ushers"), (words{"he", "she", "hers"}));
}

TEST(AhoCorasick, a_wildcard_takes_at_least_one_byte) {
    EXPECT_EQ(found({"a*b"}, "ab"), kNone);
    EXPECT_EQ(found({"a*b"}, "axb"), words{"a*b"});
    EXPECT_EQ(found({"a*b"}, "axxb"), words{"a*b"});
    EXPECT_EQ(found({"a*b"}, "abb"), words{"a*b"});
}

TEST(AhoCorasick, a_wildcard_takes_path_separators_and_any_byte) {
    EXPECT_EQ(found({"c:\\*.exe"}, "c:\\a\\b\\t.exe"), words{"c:\\*.exe"});
    EXPECT_EQ(found({"a*b"}, "a\x01\x80\xff\nb"), words{"a*b"});
}

TEST(AhoCorasick, a_wildcard_at_the_end_needs_a_byte) {
    EXPECT_EQ(found({"abc*"}, "abc"), kNone);
    EXPECT_EQ(found({"abc*"}, "abcd"), words{"abc*"});
}

TEST(AhoCorasick, a_wildcard_at_the_start_needs_a_byte) {
    EXPECT_EQ(found({"*b"}, "b"), kNone);
    EXPECT_EQ(found({"*b"}, "xb"), words{"*b"});
}

TEST(AhoCorasick, a_lone_wildcard_is_found_in_every_text_but_the_empty) {
    EXPECT_EQ(found({"*"}, "x"), words{"*"});
    EXPECT_EQ(found({"*"}, ""), kNone);
}

TEST(AhoCorasick, a_run_of_wildcards_counts_as_one) {
    EXPECT_EQ(found({"a**b"}, "axb"), words{"a**b"});
    EXPECT_EQ(found({"a**b"}, "ab"), kNone);
    EXPECT_EQ(found({"****"}, "x"), words{"****"});
    EXPECT_EQ(found({"a***b", "a*b"}, "axb"), (words{"a***b", "a*b"}));
}

TEST(AhoCorasick, each_wildcard_of_a_pattern_takes_a_byte) {
    EXPECT_EQ(found({"a*b*c"}, "axbxc"), words{"a*b*c"});
    EXPECT_EQ(found({"a*b*c"}, "axbc"), kNone);
}

TEST(AhoCorasick, a_literal_edge_wins_over_the_wildcard_edge_beside_it) {
    EXPECT_EQ(found({"ab", "a*c"}, "abc"), words{"ab"});
    EXPECT_EQ(found({"ab", "a*c"}, "axc"), words{"a*c"});
}

TEST(AhoCorasick, a_wildcard_that_lost_to_a_literal_is_not_tried_again) {
    EXPECT_EQ(found({"a*bc", "ax"}, "axbc"), words{"ax"});
}

TEST(AhoCorasick, the_wildcard_of_a_shorter_suffix_state_takes_the_byte_in_a_branch) {
    EXPECT_EQ(found({"b*d", "abx"}, "abxcd"), (words{"b*d", "abx"}));
}

TEST(AhoCorasick, the_greedy_walk_holds_where_it_finds_less_than_all_patterns) {
    EXPECT_EQ(found({"*bc", "b*a", "c"}, "babbc"), words{"*bc"});
}

TEST(AhoCorasick, a_star_in_the_text_takes_the_wildcard_edge_without_absorbing) {
    EXPECT_EQ(found({"a*b"}, "a*b"), words{"a*b"});
    EXPECT_EQ(found({"a*b"}, "a*xb"), kNone);
    EXPECT_EQ(found({"a*b"}, "axxb"), words{"a*b"});
    EXPECT_EQ(found({"a*b"}, "ax*b"), words{"a*b"});
}

TEST(AhoCorasick, a_branch_on_the_last_byte_adds_its_start_nodes_output) {
    // Behind "ab" the state b has the wildcard child of "b*"; the branch starts behind the last
    // byte.
    EXPECT_EQ(found({"b*", "abx"}, "abx"), (words{"b*", "abx"}));
    EXPECT_EQ(found({"b*", "abx"}, "ab"), kNone);
}

TEST(AhoCorasick, the_empty_pattern_is_found_in_the_empty_text) {
    EXPECT_EQ(found({""}, ""), words{""});
    EXPECT_EQ(found({"", "b"}, ""), words{""});
}

TEST(AhoCorasick, the_empty_pattern_is_found_at_a_step_that_ends_on_the_root) {
    EXPECT_EQ(found({""}, "x"), words{""});
    EXPECT_EQ(found({"", "b"}, "x"), words{""});
    EXPECT_EQ(found({"", "b"}, "bx"), (words{"", "b"}));
}

TEST(AhoCorasick, the_empty_pattern_is_not_found_on_a_child_of_the_root) {
    EXPECT_EQ(found({"", "b"}, "b"), words{"b"});
    EXPECT_EQ(found({"", "*"}, "x"), words{"*"});
}

TEST(AhoCorasick, the_empty_pattern_is_inherited_from_depth_two_on) {
    EXPECT_EQ(found({"", "bc"}, "bc"), (words{"", "bc"}));
    EXPECT_EQ(found({"", "bcd"}, "bc"), words{""});
}

TEST(AhoCorasick, an_id_reached_by_several_routes_is_reported_once) {
    CAhoCorasick matcher;
    for (const char* pattern : {"he", "she", "hers", "he", "*s"}) {
        matcher.add_pattern(pattern, 7);
    }
    matcher.build();
    EXPECT_EQ(search(matcher, "ushershe"), ids{7});
}

TEST(AhoCorasick, a_pattern_may_have_several_ids) {
    CAhoCorasick matcher;
    for (const uint32_t id : {4U, 0xffffffffU, 0U, 4U}) {
        matcher.add_pattern("ab", id);
    }
    matcher.build();
    EXPECT_EQ(search(matcher, "xab"), (ids{0, 4, 0xffffffff}));
}

TEST(AhoCorasick, ids_come_ascending_in_whatever_order_they_were_added_and_found) {
    CAhoCorasick matcher;
    matcher.add_pattern("c", 1);
    matcher.add_pattern("a", 9);
    matcher.add_pattern("b", 5);
    matcher.add_pattern("abc", 3);
    matcher.build();
    EXPECT_EQ(search(matcher, "abc"), (ids{1, 3, 5, 9}));
}

TEST(AhoCorasick, results_are_appended_to_what_the_caller_holds) {
    const CAhoCorasick matcher = built({"a", "b"});
    ids results{9, 1, 1};
    matcher.search("ba", results);
    EXPECT_EQ(results, (ids{9, 1, 1, 0, 1}));
}

TEST(AhoCorasick, the_text_ends_at_its_first_nul) {
    EXPECT_EQ(found({"a", "b"}, std::string_view("a\0b", 3)), words{"a"});
    EXPECT_EQ(found({"", "b"}, std::string_view("\0b", 2)), words{""});
    EXPECT_EQ(found({"a*b"}, std::string_view("a\0b", 3)), kNone);
}

TEST(AhoCorasick, a_pattern_with_a_nul_is_never_found_past_it) {
    EXPECT_EQ(found({std::string("a\0b", 3), "a"}, std::string_view("a\0b", 3)), words{"a"});
}

TEST(AhoCorasick, a_null_text_is_an_empty_one) {
    const CAhoCorasick matcher = built({"", "a", "*"});
    ids results;
    matcher.search(static_cast<const char*>(nullptr), results);
    EXPECT_EQ(results, ids{0});
    results.clear();
    matcher.search(std::string_view(), results);
    EXPECT_EQ(results, ids{0});
}

TEST(AhoCorasick, bytes_above_127_match_like_others) {
    EXPECT_EQ(found({"\xc3\xa4*\xff", "\x80"}, "\x80\xc3\xa4\x80\xff"),
              (words{"\xc3\xa4*\xff", "\x80"}));
}

TEST(AhoCorasick, a_node_may_have_a_child_for_every_byte) {
    words patterns;
    for (int byte = 1; byte < 256; ++byte) {
        patterns.emplace_back("x").push_back(static_cast<char>(byte));
    }
    const CAhoCorasick matcher = built(patterns);
    for (uint32_t id = 0; id < patterns.size(); ++id) {
        EXPECT_EQ(search(matcher, patterns[id]), ids{id}) << id;
    }
}

TEST(AhoCorasick, has_patterns_from_the_first_pattern_that_is_not_empty) {
    CAhoCorasick matcher;
    EXPECT_FALSE(matcher.has_patterns());
    matcher.add_pattern("", 1);
    matcher.build();
    EXPECT_FALSE(matcher.has_patterns());
    matcher.add_pattern("*", 2);
    EXPECT_TRUE(matcher.has_patterns());
    matcher.add_pattern("", 3);
    EXPECT_TRUE(matcher.has_patterns());
    matcher.clear();
    EXPECT_FALSE(matcher.has_patterns());
}

TEST(AhoCorasick, a_search_before_build_finds_nothing) {
    CAhoCorasick matcher;
    EXPECT_EQ(search(matcher, "a"), ids{});
    matcher.add_pattern("a", 1);
    EXPECT_EQ(search(matcher, "a"), ids{});
}

TEST(AhoCorasick, patterns_added_after_build_are_found_from_the_next_build_on) {
    CAhoCorasick matcher = built({"a"});
    matcher.add_pattern("b", 1);
    EXPECT_EQ(search(matcher, "ab"), ids{0});
    matcher.build();
    EXPECT_EQ(search(matcher, "ab"), (ids{0, 1}));
    matcher.build();
    EXPECT_EQ(search(matcher, "ab"), (ids{0, 1}));
}

TEST(AhoCorasick, a_build_of_nothing_finds_nothing) {
    CAhoCorasick matcher;
    matcher.build();
    EXPECT_EQ(search(matcher, "abc"), ids{});
    EXPECT_EQ(search(matcher, ""), ids{});
}

TEST(AhoCorasick, clear_drops_everything_and_gives_the_memory_back) {
    CAhoCorasick matcher = built({"", "abc", "a*c"});
    EXPECT_GT(matcher.memory_bytes(), 0U);
    matcher.clear();
    EXPECT_EQ(matcher.memory_bytes(), 0U);
    EXPECT_EQ(search(matcher, "abc"), ids{});
    matcher.add_pattern("b", 4);
    matcher.build();
    EXPECT_EQ(search(matcher, "abc"), ids{4});
}

TEST(AhoCorasick, a_long_pattern_and_a_long_text_need_no_stack) {
    const std::string deep(200000, 'a');
    const CAhoCorasick matcher = built({deep, "*b", deep + "*" + deep});
    EXPECT_EQ(search(matcher, deep), ids{0});
    EXPECT_EQ(search(matcher, deep + "b"), (ids{0, 1}));
}

TEST(AhoCorasick, the_paths_that_are_worst_for_a_recursive_walk_are_walked_at_once) {
    std::string bins = "c:";
    std::string pairs;
    for (int i = 0; i < 60; ++i) {
        bins += "\\bin";
    }
    for (int i = 0; i < 130; ++i) {
        pairs += "ab";
    }
    EXPECT_EQ(found({"*b"}, std::string(260, 'a')), kNone);
    EXPECT_EQ(found({"\\*\\bin\\tool.exe"}, bins), kNone);
    EXPECT_EQ(found({"\\*\\bin\\tool.exe"}, bins + "\\tool.exe"), words{"\\*\\bin\\tool.exe"});
    EXPECT_EQ(found({"a*bababababababababababac"}, pairs), kNone);
}

TEST(AhoCorasick, a_pattern_past_the_limit_is_refused_and_nothing_changes) {
    CAhoCorasick matcher = built({"a"});
    // The view's length alone is looked at; its bytes are not.
    const std::string_view huge("x", size_t{1} << 32);
    EXPECT_THROW(matcher.add_pattern(huge, 1), std::length_error);
    matcher.build();
    EXPECT_EQ(search(matcher, "ax"), ids{0});
}

}  // namespace
}  // namespace kolvessa
