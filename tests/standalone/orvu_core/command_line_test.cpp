// A console line splits into words as its description says.
#include "standalone/orvu_core/command_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvu {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> split(std::string_view line) {
    std::vector<std::string> words;
    EXPECT_TRUE(split_command_line(line, &words)) << line;
    return words;
}

bool refused(std::string_view line) {
    std::vector<std::string> words;
    return !split_command_line(line, &words);
}

TEST(CommandLine, blanks_and_tabs_part_words) {
    EXPECT_THAT(split(""), IsEmpty());
    EXPECT_THAT(split(" \t "), IsEmpty());
    EXPECT_THAT(split("a"), ElementsAre("a"));
    EXPECT_THAT(split("\ta  bc\td "), ElementsAre("a", "bc", "d"));
}

TEST(CommandLine, quotes_hold_blanks_together_and_may_be_empty) {
    EXPECT_THAT(split(R"(a "b c" d)"), ElementsAre("a", "b c", "d"));
    EXPECT_THAT(split(R"(a"b c"d)"), ElementsAre("ab cd"));
    EXPECT_THAT(split(R"(a "" b)"), ElementsAre("a", "", "b"));
    EXPECT_TRUE(refused(R"(a "b)"));
}

TEST(CommandLine, a_backslash_escapes_quotes_and_itself_only) {
    EXPECT_THAT(split(R"(c:\dir\x)"), ElementsAre(R"(c:\dir\x)"));
    EXPECT_THAT(split(R"(a\"b \\ "x\"y")"), ElementsAre("a\"b", "\\", "x\"y"));
    EXPECT_THAT(split(R"(a\)"), ElementsAre("a\\"));
}

TEST(CommandLine, the_number_of_words_is_bounded) {
    std::string line;
    for (size_t i = 0; i < kMaxCommandWords; ++i) {
        line += "x ";
    }
    EXPECT_EQ(split(line).size(), kMaxCommandWords);
    EXPECT_TRUE(refused(line + "x"));
    EXPECT_TRUE(refused(line + "x x"));
}

}  // namespace
}  // namespace orvu
