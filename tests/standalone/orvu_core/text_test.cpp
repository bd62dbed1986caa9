// Text that is shown is valid whatever came in; text that is used is refused when it isn't.
#include "standalone/orvu_core/text.h"

#include <gtest/gtest.h>

namespace orvu {
namespace {

wide_string wide(std::initializer_list<unsigned> units) {
    wide_string text;
    for (const unsigned unit : units) {
        text.push_back(static_cast<orvu_wchar>(unit));
    }
    return text;
}

TEST(Text, valid_text_passes_unchanged) {
    EXPECT_EQ(clean_utf8("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"),
              "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(show_utf8(wide({'a', 0xE9, 0x20AC, 0xD83D, 0xDE00})),
              "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
}

TEST(Text, each_broken_byte_or_unit_becomes_one_replacement) {
    EXPECT_EQ(clean_utf8("a\xFF"
                         "b"),
              "a\xEF\xBF\xBD"
              "b");
    EXPECT_EQ(clean_utf8("\xC0\x80"), "\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(clean_utf8("\xE2\x82"), "\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(clean_utf8("\xED\xA0\x80"), "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(clean_utf8("\xF4\x90\x80\x80").size(), 12U);
    EXPECT_EQ(show_utf8(wide({0xD800})), "\xEF\xBF\xBD");
    EXPECT_EQ(show_utf8(wide({0xDC00, 'x'})), "\xEF\xBF\xBDx");
    EXPECT_EQ(show_utf8(wide({0xD800, 'x'})), "\xEF\xBF\xBDx");
}

TEST(Text, a_nul_ends_what_is_shown) {
    EXPECT_EQ(clean_utf8(std::string_view("a\0b", 3)), "a");
    EXPECT_EQ(show_utf8(wide({'a', 0, 'b'})), "a");
}

TEST(Text, the_length_stops_at_the_limit) {
    const wide_string text = wide({'a', 'b', 'c'});
    EXPECT_EQ(wide_length(text.c_str(), 10), 3U);
    EXPECT_EQ(wide_length(text.c_str(), 2), 2U);
    EXPECT_EQ(wide_length(text.c_str(), 0), 0U);
}

}  // namespace
}  // namespace orvu
