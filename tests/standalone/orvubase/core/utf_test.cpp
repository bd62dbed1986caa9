// Conversion accepts exactly the well-formed texts, and what it accepts comes back unchanged.

#include "standalone/orvubase/core/utf.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using orvu::utf8_to_wide;
using orvu::wide_to_utf8;
using orvu::WString;

bool is_scalar(char32_t character) {
    return character <= 0x10FFFF && (character < 0xD800 || character >= 0xE000);
}

TEST(Utf, every_unicode_scalar_value_goes_to_16_bit_and_back) {
    for (char32_t character = 0; character <= 0x10FFFF; ++character) {
        if (!is_scalar(character)) {
            continue;
        }
        char bytes[4];
        const std::string text(bytes, orvu::utf8_put(character, bytes));
        const std::optional<WString> wide = utf8_to_wide(text);
        ASSERT_TRUE(wide) << static_cast<uint32_t>(character);
        ASSERT_EQ(wide->size(), character < 0x10000 ? 1U : 2U);
        ASSERT_EQ(wide_to_utf8(*wide), text) << static_cast<uint32_t>(character);
    }
}

// The oracle spells out the table of well-formed sequences of the Unicode standard by ranges.
bool well_formed(unsigned char a, unsigned char b, unsigned char c) {
    const auto tail = [](unsigned char x) {
        return x >= 0x80 && x <= 0xBF;
    };
    const auto ascii = [](unsigned char x) {
        return x <= 0x7F;
    };
    const auto pair = [&](unsigned char x, unsigned char y) {
        return x >= 0xC2 && x <= 0xDF && tail(y);
    };
    const auto triple = [&](unsigned char x, unsigned char y, unsigned char z) {
        if (x == 0xE0) {
            return y >= 0xA0 && y <= 0xBF && tail(z);
        }
        if (x == 0xED) {
            return y >= 0x80 && y <= 0x9F && tail(z);
        }
        return x >= 0xE1 && x <= 0xEF && tail(y) && tail(z);
    };
    return (ascii(a) && ascii(b) && ascii(c)) || (ascii(a) && pair(b, c)) ||
           (pair(a, b) && ascii(c)) || triple(a, b, c);
}

TEST(Utf, every_three_bytes_are_accepted_exactly_when_they_are_well_formed) {
    std::string text(3, '\0');
    for (unsigned int a = 0; a < 256; ++a) {
        for (unsigned int b = 0; b < 256; ++b) {
            for (unsigned int c = 0; c < 256; ++c) {
                text[0] = static_cast<char>(a);
                text[1] = static_cast<char>(b);
                text[2] = static_cast<char>(c);
                const bool expected =
                    well_formed(static_cast<unsigned char>(a), static_cast<unsigned char>(b),
                                static_cast<unsigned char>(c));
                ASSERT_EQ(orvu::utf8_is_valid(text), expected) << a << ' ' << b << ' ' << c;
            }
        }
    }
}

TEST(Utf, four_byte_sequences_are_accepted_from_10000_to_10ffff_only) {
    EXPECT_TRUE(utf8_to_wide("\xF0\x90\x80\x80"));
    EXPECT_TRUE(utf8_to_wide("\xF4\x8F\xBF\xBF"));
    EXPECT_FALSE(utf8_to_wide("\xF0\x8F\xBF\xBF"));
    EXPECT_FALSE(utf8_to_wide("\xF4\x90\x80\x80"));
    EXPECT_FALSE(utf8_to_wide("\xF5\x80\x80\x80"));
    EXPECT_FALSE(utf8_to_wide("\xF8\x88\x80\x80\x80"));
}

TEST(Utf, a_sequence_that_the_end_cuts_off_is_refused_at_every_length) {
    const std::string whole = "a\xF0\x9F\x98\x80";
    for (size_t length = 2; length < whole.size(); ++length) {
        EXPECT_FALSE(utf8_to_wide(whole.substr(0, length))) << length;
    }
    EXPECT_TRUE(utf8_to_wide(whole));
}

TEST(Utf, overlong_forms_and_encoded_surrogates_are_refused) {
    for (const char* text :
         {"\xC0\xAF", "\xC1\xBF", "\xE0\x80\xAF", "\xE0\x9F\xBF", "\xF0\x80\x80\xAF",
          "\xED\xA0\x80", "\xED\xBF\xBF", "\xED\xA0\xBD\xED\xB8\x80", "\x80", "\xFF", "\xFE"}) {
        EXPECT_FALSE(utf8_to_wide(text)) << testing::PrintToString(std::string(text));
    }
}

TEST(Utf, a_lone_surrogate_is_refused_wherever_it_stands) {
    const orvu_wchar high = 0xD83D;
    const orvu_wchar low = 0xDE00;
    const orvu_wchar letter = 'a';
    EXPECT_TRUE(wide_to_utf8(WString{high, low}));
    for (const WString& text :
         {WString{high}, WString{low}, WString{low, high}, WString{high, high, low},
          WString{high, letter}, WString{letter, low}, WString{high, low, low}}) {
        EXPECT_FALSE(wide_to_utf8(text));
    }
}

TEST(Utf, the_lossy_form_puts_one_replacement_for_each_lone_surrogate) {
    const orvu_wchar high = 0xD83D;
    const orvu_wchar low = 0xDE00;
    EXPECT_EQ(orvu::wide_to_utf8_lossy(WString{'a', high, 'b', low, high, low, high}),
              "a\xEF\xBF\xBD"
              "b\xEF\xBF\xBD\xF0\x9F\x98\x80\xEF\xBF\xBD");
}

TEST(Utf, the_empty_text_converts_to_the_empty_text) {
    EXPECT_EQ(utf8_to_wide(""), WString());
    EXPECT_EQ(wide_to_utf8(WString()), "");
}

TEST(Utf, an_embedded_nul_is_a_character) {
    const std::string text("a\0b", 3);
    ASSERT_TRUE(utf8_to_wide(text));
    EXPECT_EQ(utf8_to_wide(text)->size(), 3U);
    EXPECT_EQ(wide_to_utf8(*utf8_to_wide(text)), text);
}

TEST(Utf, the_whole_prefix_drops_only_a_sequence_that_is_cut) {
    const std::string text = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80";
    const size_t expected[] = {0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10};
    for (size_t length = 0; length <= text.size(); ++length) {
        EXPECT_EQ(orvu::utf8_whole_prefix(std::string_view(text).substr(0, length)),
                  expected[length])
            << length;
    }
    EXPECT_EQ(orvu::utf8_whole_prefix("a\x80\x80\x80\x80"), 5U);
}

}  // namespace
