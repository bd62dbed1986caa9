// The matcher finds exactly what the literal algorithm finds: for all small pattern sets and texts
// over a, b and the wildcard, and for random larger ones.

#include <gtest/gtest.h>

#include <ostream>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "plugins/kolvessa/aho_corasick.h"
#include "tests/plugins/kolvessa/aho_corasick_model.h"

namespace kolvessa {
namespace {

using ids = std::vector<uint32_t>;
using words = std::vector<std::string>;

words all_words(const std::string& alphabet, size_t longest) {
    words all{""};
    for (size_t from = 0, length = 1; length <= longest; ++length) {
        const size_t to = all.size();
        for (; from < to; ++from) {
            for (const char byte : alphabet) {
                all.push_back(all[from] + byte);
            }
        }
    }
    return all;
}

std::string spelled(const words& patterns, const std::string& text) {
    std::string line;
    for (const std::string& pattern : patterns) {
        line += "[" + pattern + "] ";
    }
    return line + "in [" + text + "]";
}

struct Pair {
    CAhoCorasick matcher;
    testing::AhoCorasickModel model;

    explicit Pair(const words& patterns) {
        for (uint32_t id = 0; id < patterns.size(); ++id) {
            matcher.add_pattern(patterns[id], id);
            model.add_pattern(patterns[id], id);
        }
        matcher.build();
        model.build();
    }

    // True when the model could tell within its budget and both agree.
    bool agree(const words& patterns, const std::string& text, uint64_t budget, size_t& unknown) {
        std::set<uint32_t> wanted;
        if (!model.search(text, wanted, budget)) {
            ++unknown;
            return true;
        }
        found_.clear();
        matcher.search(text, found_);
        if (found_ == ids(wanted.begin(), wanted.end())) {
            return true;
        }
        ADD_FAILURE() << spelled(patterns, text) << ": found " << ::testing::PrintToString(found_)
                      << ", the model " << ::testing::PrintToString(wanted);
        return false;
    }

  private:
    ids found_;
};

void compare_all(const std::vector<words>& sets, const words& texts) {
    size_t unknown = 0;
    for (const words& patterns : sets) {
        Pair pair(patterns);
        for (const std::string& text : texts) {
            ASSERT_TRUE(pair.agree(patterns, text, 100000, unknown));
        }
    }
    EXPECT_EQ(unknown, 0U);
}

TEST(AhoCorasickModel, every_pattern_of_up_to_five_bytes_in_every_text_of_up_to_seven) {
    std::vector<words> sets;
    for (const std::string& pattern : all_words("ab*", 5)) {
        sets.push_back({pattern});
    }
    compare_all(sets, all_words("ab*", 7));
}

TEST(AhoCorasickModel, every_pair_of_patterns_of_up_to_three_bytes_in_every_text_of_up_to_six) {
    std::vector<words> sets;
    const words patterns = all_words("ab*", 3);
    for (size_t one = 0; one < patterns.size(); ++one) {
        for (size_t other = one + 1; other < patterns.size(); ++other) {
            sets.push_back({patterns[one], patterns[other]});
        }
    }
    compare_all(sets, all_words("ab*", 6));
}

TEST(AhoCorasickModel, every_triple_of_patterns_of_up_to_two_bytes_in_every_text_of_up_to_six) {
    std::vector<words> sets;
    const words patterns = all_words("ab*", 2);
    for (size_t a = 0; a < patterns.size(); ++a) {
        for (size_t b = a + 1; b < patterns.size(); ++b) {
            for (size_t c = b + 1; c < patterns.size(); ++c) {
                sets.push_back({patterns[a], patterns[b], patterns[c]});
            }
        }
    }
    compare_all(sets, all_words("ab*", 6));
}

struct Shape {
    std::string alphabet;
    size_t patterns;
    size_t pattern_length;
    size_t text_length;
    int rounds;

    friend void PrintTo(const Shape& shape, std::ostream* out) {
        *out << shape.patterns << " patterns of up to " << shape.pattern_length << " bytes over "
             << shape.alphabet.size();
    }
};

class RandomSets : public ::testing::TestWithParam<Shape> {
  protected:
    std::mt19937 random{20240817};

    size_t below(size_t limit) { return random() % limit; }

    std::string word(size_t longest) {
        std::string made(below(longest + 1), ' ');
        for (char& byte : made) {
            byte = GetParam().alphabet[below(GetParam().alphabet.size())];
        }
        return made;
    }

    // Random bytes, or random bytes with patterns strewn in, their wildcards filled or kept.
    std::string text(const words& patterns) {
        std::string made;
        const size_t parts = below(3);
        for (size_t part = 0; part < parts; ++part) {
            for (const char byte : patterns[below(patterns.size())]) {
                made += byte == '*' && below(8) != 0 ? word(3) : std::string(1, byte);
            }
            made += word(2);
        }
        return parts == 0 ? word(GetParam().text_length) : made;
    }
};

TEST_P(RandomSets, find_what_the_model_finds) {
    const Shape& shape = GetParam();
    size_t unknown = 0;
    size_t compared = 0;
    for (int round = 0; round < shape.rounds; ++round) {
        words patterns(1 + below(shape.patterns));
        for (std::string& pattern : patterns) {
            pattern = word(shape.pattern_length);
        }
        Pair pair(patterns);
        for (int texts = 0; texts < 40; ++texts, ++compared) {
            ASSERT_TRUE(pair.agree(patterns, text(patterns), 20000, unknown));
        }
    }
    EXPECT_LT(unknown, compared / 10);
}

INSTANTIATE_TEST_SUITE_P(
    AhoCorasickModel, RandomSets,
    ::testing::Values(Shape{"ab*", 4, 8, 12, 600}, Shape{"ab*", 30, 6, 14, 200},
                      Shape{"aab*", 60, 10, 16, 100}, Shape{"abcde\\*", 8, 10, 20, 400},
                      Shape{"ab.\\*", 400, 9, 24, 20},
                      Shape{std::string("\x01*a\x7f\x80\xc3\xff", 7), 12, 8, 24, 300},
                      Shape{std::string("a*\0b", 4), 6, 6, 12, 300},
                      Shape{"abcdefghijklmnopqrstuvwxyz\\.*", 300, 3, 20, 30}));

}  // namespace
}  // namespace kolvessa
