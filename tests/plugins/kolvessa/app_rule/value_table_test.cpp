// Equal values get equal numbers, in order of arrival, and look-ups find them again.

#include "plugins/kolvessa/app_rule/value_table.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <unordered_map>

#include "tests/fakehost/fake_host.h"

namespace kolvessa {
namespace {

using fakehost::wide;

TEST(ValueTable, an_empty_table_finds_nothing) {
    const ValueTable table;
    EXPECT_EQ(table.find(wide("a")), ValueTable::absent);
    EXPECT_EQ(table.find({}), ValueTable::absent);
    EXPECT_EQ(table.size(), 0U);
}

TEST(ValueTable, values_are_numbered_from_0_in_order_of_arrival) {
    ValueTable table;
    EXPECT_EQ(table.intern(wide("b")), 0U);
    EXPECT_EQ(table.intern(wide("a")), 1U);
    EXPECT_EQ(table.intern(wide("b")), 0U);
    EXPECT_EQ(table.intern({}), 2U);
    EXPECT_EQ(table.size(), 3U);
    EXPECT_EQ(table.find(wide("a")), 1U);
    EXPECT_EQ(table.find({}), 2U);
    EXPECT_EQ(table.find(wide("A")), ValueTable::absent);
    EXPECT_EQ(table.find(wide("ab")), ValueTable::absent);
}

TEST(ValueTable, after_clear_it_is_as_new) {
    ValueTable table;
    table.intern(wide("a"));
    table.clear();
    EXPECT_EQ(table.find(wide("a")), ValueTable::absent);
    EXPECT_EQ(table.intern(wide("b")), 0U);
}

TEST(ValueTable, many_values_agree_with_a_map) {
    ValueTable table;
    std::unordered_map<std::string, uint32_t> expected;
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        std::string text(random() % 12, 'x');
        for (char& c : text) {
            c = static_cast<char>('a' + random() % 4);
        }
        const auto number = static_cast<uint32_t>(expected.size());
        EXPECT_EQ(table.intern(wide(text)), expected.emplace(text, number).first->second);
    }
    table.shrink();
    for (const auto& [text, number] : expected) {
        EXPECT_EQ(table.find(wide(text)), number);
    }
    EXPECT_EQ(table.size(), expected.size());
    EXPECT_EQ(table.find(wide("e")), ValueTable::absent);
}

}  // namespace
}  // namespace kolvessa
