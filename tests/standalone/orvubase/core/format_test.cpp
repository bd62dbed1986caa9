// The formatted print gives what the C standard says for the conversions both know, 16-bit text
// under %S, and never a byte outside its buffer.

#include "standalone/orvubase/core/format.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "orvu_types.h"

namespace {

size_t print(char* buffer, size_t size, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const size_t length = orvu::format_bounded(buffer, size, format, arguments);
    va_end(arguments);
    return length;
}

template <typename... Arguments>
std::string text(const char* format, Arguments... arguments) {
    std::vector<char> buffer(70000);
    const size_t length = print(buffer.data(), buffer.size(), format, arguments...);
    std::string result(buffer.data());
    EXPECT_EQ(result.size(), length);
    return result;
}

TEST(Format, integers_agree_with_the_c_library_in_every_mix_of_flags_width_and_precision) {
    const std::vector<std::string> flags = {"",   "-",  "+",  " ",  "0",  "#",   "-0", "+0",
                                            " 0", "#0", "-#", "+-", "+ ", "-+0", "#-0"};
    for (const std::string& flag : flags) {
        for (const char* width : {"", "1", "5", "12"}) {
            for (const char* precision : {"", ".", ".0", ".1", ".7"}) {
                for (const char conversion : {'d', 'i', 'u', 'o', 'x', 'X'}) {
                    // Flags that the standard leaves undefined with a conversion are left out.
                    const bool is_signed = conversion == 'd' || conversion == 'i';
                    const bool alternate = flag.find('#') != std::string::npos;
                    const bool sign = flag.find_first_of("+ ") != std::string::npos;
                    if ((alternate && (is_signed || conversion == 'u')) || (sign && !is_signed)) {
                        continue;
                    }
                    const std::string format = "[%" + flag + width + precision + conversion + "]";
                    // One of the C libraries departs from the standard for a 0 here; see below.
                    const bool departs = alternate && conversion == 'o';
                    for (const int value :
                         {departs ? 8 : 0, 1, -1, 42, INT_MAX, INT_MIN, 0x1234ABCD}) {
                        char expected[64];
                        (void)std::snprintf(expected, sizeof expected, format.c_str(), value);
                        EXPECT_EQ(text(format.c_str(), value), expected) << format << ' ' << value;
                    }
                }
            }
        }
    }
}

TEST(Format, an_alternate_octal_number_always_begins_with_a_0) {
    EXPECT_EQ(text("[%#o][%#.0o][%#o][%#.4o][%#5.0o][%-#3o]", 0, 0, 8, 8, 0, 0),
              "[0][0][010][0010][    0][0  ]");
    EXPECT_EQ(text("[%.0o][%.0x][%#x]", 0, 0, 0), "[][][0]");
}

TEST(Format, each_length_reads_its_own_type) {
    EXPECT_EQ(text("%lld %llu %llx", LLONG_MIN, ULLONG_MAX, ULLONG_MAX),
              "-9223372036854775808 18446744073709551615 ffffffffffffffff");
    EXPECT_EQ(text("%I64d %I64u|%d", static_cast<long long>(-5), ULLONG_MAX, 7),
              "-5 18446744073709551615|7");
    EXPECT_EQ(text("%ld %lu", LONG_MIN, ULONG_MAX),
              std::to_string(LONG_MIN) + " " + std::to_string(ULONG_MAX));
    EXPECT_EQ(text("%zu %zx %zd", SIZE_MAX, static_cast<size_t>(255), static_cast<ptrdiff_t>(-3)),
              "18446744073709551615 ff -3");
    EXPECT_EQ(text("%jd %ju %td", INTMAX_MIN, UINTMAX_MAX, static_cast<ptrdiff_t>(-9)),
              "-9223372036854775808 18446744073709551615 -9");
    EXPECT_EQ(text("%hd %hu %hhd %hhu", 65535, 65537, 255, 257), "-1 1 -1 1");
}

TEST(Format, narrow_text_takes_width_precision_and_null) {
    EXPECT_EQ(text("[%s][%5s][%-5s][%.2s][%5.1s][%hs]", "abc", "abc", "abc", "abc", "abc", "x"),
              "[abc][  abc][abc  ][ab][    a][x]");
    const char* none = nullptr;
    EXPECT_EQ(text("[%s][%8s]", none, none), "[(null)][  (null)]");
    const char unterminated[2] = {'x', 'y'};
    EXPECT_EQ(text("%.2s", static_cast<const char*>(unterminated)), "xy");
}

TEST(Format, wide_text_is_written_as_utf8) {
    const orvu_wchar* wide = ORVU_TEXT("Z:\\Users\\\u00e4\u20ac\U0001F600");
    EXPECT_EQ(text("[%S]", wide), "[Z:\\Users\\\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80]");
    EXPECT_EQ(text("[%ls]", wide), text("[%S]", wide));
    EXPECT_EQ(text("%d %S %s %S %u", 1, ORVU_TEXT("two"), "three", ORVU_TEXT("four"), 5U),
              "1 two three four 5");
}

TEST(Format, a_lone_surrogate_becomes_the_replacement_character) {
    const orvu_wchar lone[] = {'a', 0xD83D, 'b', 0xDE00, 0};
    EXPECT_EQ(text("%S", static_cast<const orvu_wchar*>(lone)),
              "a\xEF\xBF\xBD"
              "b\xEF\xBF\xBD");
}

TEST(Format, wide_text_takes_width_in_bytes_precision_in_units_and_null) {
    const orvu_wchar* wide = ORVU_TEXT("\u00e4b");
    EXPECT_EQ(text("[%5S][%-5S][%.1S]", wide, wide, wide),
              "[  \xC3\xA4"
              "b][\xC3\xA4"
              "b  ][\xC3\xA4]");
    const orvu_wchar* none = nullptr;
    EXPECT_EQ(text("[%S][%-8S]", none, none), "[(null)][(null)  ]");
    const orvu_wchar unterminated[2] = {'x', 'y'};
    EXPECT_EQ(text("%.2S", static_cast<const orvu_wchar*>(unterminated)), "xy");
}

TEST(Format, characters_pointers_and_the_percent_sign) {
    EXPECT_EQ(text("[%c][%3c][%-3c][%C][%lc]%%", 'a', 'b', 'c', 0x20AC, 0xE4),
              "[a][  b][c  ][\xE2\x82\xAC][\xC3\xA4]%");
    EXPECT_EQ(text("%p", reinterpret_cast<void*>(uintptr_t{0xBEEF})), "0xbeef");
    EXPECT_EQ(text("%p", static_cast<void*>(nullptr)), "0x0");
}

TEST(Format, a_star_takes_width_and_precision_from_the_arguments) {
    EXPECT_EQ(text("[%*d][%-*d][%*d]", 5, 42, 5, 42, -5, 42), "[   42][42   ][42   ]");
    EXPECT_EQ(text("[%.*s][%.*s]", 2, "abc", -1, "abc"), "[ab][abc]");
    EXPECT_EQ(text("%*d", INT_MIN, 1).size(), 65535U);
}

TEST(Format, an_unknown_conversion_ends_the_formatting_and_reads_nothing) {
    int written = 42;
    EXPECT_EQ(text("a%d%n b %s", 1, &written, "x"), "a1%n b %s");
    EXPECT_EQ(written, 42);
    EXPECT_EQ(text("%f and %d", 1.5, 2), "%f and %d");
    EXPECT_EQ(text("50%"), "50%");
    EXPECT_EQ(text("%-5"), "%-5");
    EXPECT_EQ(text("%l"), "%l");
}

TEST(Format, a_buffer_of_every_size_gets_a_prefix_a_nul_and_nothing_behind_it) {
    const char* format = "%s|%5d|%-4u|%S|%05x";
    const std::string whole = text(format, "abc", -7, 8U, ORVU_TEXT("wide"), 255);
    for (size_t size = 0; size <= whole.size() + 2; ++size) {
        std::vector<char> buffer(whole.size() + 8, '\x55');
        EXPECT_EQ(print(buffer.data(), size, format, "abc", -7, 8U, ORVU_TEXT("wide"), 255),
                  whole.size());
        if (size > 0) {
            EXPECT_EQ(std::string(buffer.data()), whole.substr(0, size - 1));
        }
        for (size_t i = size; i < buffer.size(); ++i) {
            ASSERT_EQ(buffer[i], '\x55') << size;
        }
    }
}

TEST(Format, a_cut_never_splits_a_character) {
    const orvu_wchar* wide = ORVU_TEXT("\u20ac\u20ac");
    const size_t kept[] = {0, 0, 0, 0, 3, 3, 3, 6};
    for (size_t size = 1; size < 8; ++size) {
        char buffer[8];
        EXPECT_EQ(print(buffer, size, "%S", wide), 6U);
        EXPECT_EQ(std::string(buffer).size(), kept[size]) << size;
    }
}

TEST(Format, no_buffer_and_no_format_are_harmless) {
    EXPECT_EQ(print(nullptr, 100, "%d", 12345), 5U);
    char buffer[4] = "abc";
    EXPECT_EQ(print(buffer, sizeof buffer, nullptr), 0U);
    EXPECT_STREQ(buffer, "");
}

}  // namespace
