// Texts and memory as the framework hands them out.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "orvubase.h"

namespace {

std::vector<std::string> split(const char* text, const char* separator) {
    uint32_t count = 77;
    char** array = orvu_str_split(text, separator, &count);
    std::vector<std::string> parts;
    for (uint32_t i = 0; i < count; ++i) {
        parts.emplace_back(array[i]);
    }
    if (array != nullptr) {
        EXPECT_EQ(array[count], nullptr);
    }
    orvu_str_split_free(array);
    return parts;
}

using Parts = std::vector<std::string>;

TEST(Strings, a_split_leaves_out_empty_parts) {
    EXPECT_EQ(split("default/tools/vpn", "/"), (Parts{"default", "tools", "vpn"}));
    EXPECT_EQ(split("//a///b/", "/"), (Parts{"a", "b"}));
    EXPECT_EQ(split("alone", "/"), (Parts{"alone"}));
    EXPECT_EQ(split("a, b,c", ", "), (Parts{"a", "b,c"}));
    EXPECT_EQ(split("aaa", "aa"), (Parts{"a"}));
}

TEST(Strings, a_split_without_parts_gives_null_and_count_0) {
    for (const char* text : {"", "/", "////"}) {
        uint32_t count = 77;
        EXPECT_EQ(orvu_str_split(text, "/", &count), nullptr);
        EXPECT_EQ(count, 0U);
    }
}

TEST(Strings, a_split_of_nothing_or_by_nothing_gives_null) {
    uint32_t count = 77;
    EXPECT_EQ(orvu_str_split(nullptr, "/", &count), nullptr);
    EXPECT_EQ(count, 0U);
    count = 77;
    EXPECT_EQ(orvu_str_split("a/b", nullptr, &count), nullptr);
    EXPECT_EQ(orvu_str_split("a/b", "", &count), nullptr);
    EXPECT_EQ(count, 0U);
    orvu_str_split_free(nullptr);
}

TEST(Strings, a_split_needs_no_count) {
    char** array = orvu_str_split("a/b", "/", nullptr);
    ASSERT_NE(array, nullptr);
    EXPECT_STREQ(array[1], "b");
    EXPECT_EQ(array[2], nullptr);
    orvu_str_split_free(array);
}

TEST(Strings, comparing_orders_by_bytes_and_puts_null_first) {
    EXPECT_EQ(orvu_strcmp("a", "a"), 0);
    EXPECT_EQ(orvu_strcmp("a", "b"), -1);
    EXPECT_EQ(orvu_strcmp("b", "a"), 1);
    EXPECT_EQ(orvu_strcmp("a", "aa"), -1);
    EXPECT_EQ(orvu_strcmp("\xC3\xA4", "z"), 1);
    EXPECT_EQ(orvu_strcmp(nullptr, nullptr), 0);
    EXPECT_EQ(orvu_strcmp(nullptr, ""), -1);
    EXPECT_EQ(orvu_strcmp("", nullptr), 1);
}

TEST(Strings, lowering_touches_ascii_letters_only) {
    for (int byte = 1; byte < 256; ++byte) {
        char text[2] = {static_cast<char>(byte), '\0'};
        EXPECT_EQ(orvu_str_tolower(text), text);
        const int expected = byte >= 'A' && byte <= 'Z' ? byte + 32 : byte;
        EXPECT_EQ(static_cast<unsigned char>(text[0]), expected);
    }
    EXPECT_EQ(orvu_str_tolower(nullptr), nullptr);
}

TEST(Strings, conversions_round_trip) {
    const char* text = "Z:\\\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80.exe";
    orvu_wchar* wide = orvu_str_utf8_to_unicode(text);
    ASSERT_NE(wide, nullptr);
    char* back = orvu_str_unicode_to_utf8(wide);
    EXPECT_STREQ(back, text);
    char* ansi = orvu_str_utf8_to_ansi(text);
    ASSERT_NE(ansi, nullptr);
    orvu_wchar* from_ansi = orvu_str_ansi_to_unicode(ansi);
    ASSERT_NE(from_ansi, nullptr);
    EXPECT_EQ(std::basic_string<orvu_wchar>(from_ansi), std::basic_string<orvu_wchar>(wide));
    for (void* block : {static_cast<void*>(wide), static_cast<void*>(back),
                        static_cast<void*>(ansi), static_cast<void*>(from_ansi)}) {
        orvu_str_free(block);
    }
    orvu_wchar* empty = orvu_str_utf8_to_unicode("");
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(empty[0], 0);
    orvu_str_free(empty);
    orvu_str_free(nullptr);
}

TEST(Strings, conversions_answer_null_for_null_and_for_malformed_input) {
    EXPECT_EQ(orvu_str_utf8_to_ansi(nullptr), nullptr);
    EXPECT_EQ(orvu_str_utf8_to_unicode(nullptr), nullptr);
    EXPECT_EQ(orvu_str_unicode_to_utf8(nullptr), nullptr);
    EXPECT_EQ(orvu_str_ansi_to_unicode(nullptr), nullptr);
    for (const char* text : {"\xC0\x80", "\xED\xA0\x80", "a\xC3", "\xFF", "\xF4\x90\x80\x80"}) {
        EXPECT_EQ(orvu_str_utf8_to_ansi(text), nullptr);
        EXPECT_EQ(orvu_str_utf8_to_unicode(text), nullptr);
        EXPECT_EQ(orvu_str_ansi_to_unicode(text), nullptr);
    }
    const orvu_wchar lone[] = {'a', 0xD800, 0};
    EXPECT_EQ(orvu_str_unicode_to_utf8(lone), nullptr);
}

TEST(Strings, printing_is_bounded_at_every_size) {
    for (size_t size = 0; size <= 12; ++size) {
        std::string buffer(16, '#');
        EXPECT_EQ(orvu_str_snprintf(buffer.data(), size, "%s-%S-%u", "ab", ORVU_TEXT("cd"), 7U), 7);
        const std::string expected =
            size == 0 ? "" : std::string("ab-cd-7").substr(0, size - 1) + '\0';
        EXPECT_EQ(buffer, expected + std::string(16 - expected.size(), '#')) << size;
    }
    EXPECT_EQ(orvu_str_snprintf(nullptr, 10, "abc"), 3);
}

TEST(Strings, the_last_occurrence_is_found) {
    const orvu_wchar* path = ORVU_TEXT("Z:\\a\\b.exe");
    EXPECT_EQ(orvu_wcsrchr(path, '\\'), path + 4);
    EXPECT_EQ(orvu_wcsrchr(path, 'Z'), path);
    EXPECT_EQ(orvu_wcsrchr(path, '/'), nullptr);
    EXPECT_EQ(orvu_wcsrchr(path, 0), path + 10);
    EXPECT_EQ(orvu_wcsrchr(nullptr, 'a'), nullptr);
}

TEST(Strings, a_wide_copy_is_bounded_at_every_capacity) {
    const orvu_wchar* source = ORVU_TEXT("System");
    for (size_t capacity = 0; capacity <= 8; ++capacity) {
        orvu_wchar buffer[10];
        for (orvu_wchar& unit : buffer) {
            unit = '#';
        }
        EXPECT_EQ(orvu_wcslcpy(buffer, source, capacity), 6U);
        const size_t kept = capacity == 0 ? 0 : std::min<size_t>(6, capacity - 1);
        EXPECT_EQ(std::memcmp(buffer, source, kept * sizeof(orvu_wchar)), 0);
        if (capacity > 0) {
            EXPECT_EQ(buffer[kept], 0);
        }
        for (size_t i = capacity == 0 ? 0 : kept + 1; i < 10; ++i) {
            EXPECT_EQ(buffer[i], '#') << capacity;
        }
    }
}

TEST(Strings, a_wide_copy_survives_null) {
    orvu_wchar buffer[2] = {'x', 'y'};
    EXPECT_EQ(orvu_wcslcpy(buffer, nullptr, 2), 0U);
    EXPECT_EQ(buffer[0], 0);
    EXPECT_EQ(orvu_wcslcpy(nullptr, ORVU_TEXT("abc"), 4), 3U);
}

TEST(Memory, a_zeroed_block_is_zero) {
    auto* block = static_cast<unsigned char*>(orvu_zero_malloc_(520));
    ASSERT_NE(block, nullptr);
    for (int i = 0; i < 520; ++i) {
        EXPECT_EQ(block[i], 0);
    }
    orvu_free_(block);
}

TEST(Memory, a_block_of_size_0_is_a_block) {
    void* empty = orvu_malloc_(0);
    void* zeroed = orvu_zero_malloc_(0);
    EXPECT_NE(empty, nullptr);
    EXPECT_NE(zeroed, nullptr);
    orvu_free_(empty);
    orvu_free_(zeroed);
    orvu_free_(nullptr);
}

TEST(Memory, adding_answers_the_new_value) {
    volatile int64_t value = 5;
    EXPECT_EQ(orvu_atomic64_add_and_fetch(&value, 3), 8);
    EXPECT_EQ(orvu_atomic64_add_and_fetch(&value, -8), 0);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(orvu_atomic64_add_and_fetch(nullptr, 1), 0);
}

}  // namespace
