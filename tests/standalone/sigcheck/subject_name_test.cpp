// Which value of a subject is the name, and how each kind of string becomes 16-bit text.

#include "standalone/sigcheck/subject_name.h"

#include <gtest/gtest.h>

#include <string_view>
#include <vector>

#include "standalone/orvubase/core/utf.h"
#include "standalone/sigcheck/der.h"

namespace orvu::sigcheck::tests {
namespace {

using encoding = std::vector<uint8_t>;
constexpr uint8_t common_name = 3;
constexpr uint8_t organisation = 10;
constexpr uint8_t unit = 11;

encoding wrap(uint8_t tag, const encoding& content) {
    encoding out = {tag};
    if (content.size() < 0x80) {
        out.push_back(static_cast<uint8_t>(content.size()));
    } else {
        out.push_back(0x82);
        out.push_back(static_cast<uint8_t>(content.size() >> 8));
        out.push_back(static_cast<uint8_t>(content.size()));
    }
    out.insert(out.end(), content.begin(), content.end());
    return out;
}

encoding pair(uint8_t type, uint8_t tag, std::string_view value) {
    encoding inner = {0x06, 0x03, 0x55, 0x04, type};
    const encoding text = wrap(tag, {value.begin(), value.end()});
    inner.insert(inner.end(), text.begin(), text.end());
    return wrap(DER_SEQUENCE, inner);
}

// A subject of one pair a set.
encoding subject(std::initializer_list<encoding> pairs) {
    encoding out;
    for (const encoding& one : pairs) {
        const encoding set = wrap(DER_SET, one);
        out.insert(out.end(), set.begin(), set.end());
    }
    return out;
}

std::string name_of(const encoding& subject) {
    const auto text = wide_to_utf8(subject_name(subject));
    return text ? *text : "not well formed";
}

std::string only(uint8_t tag, std::string_view value) {
    return name_of(subject({pair(common_name, tag, value)}));
}

using namespace std::string_view_literals;

TEST(SubjectName, the_common_name_goes_before_the_unit_and_the_unit_before_the_organisation) {
    const encoding cn = pair(common_name, DER_UTF8_STRING, "Name");
    const encoding ou = pair(unit, DER_UTF8_STRING, "Unit");
    const encoding o = pair(organisation, DER_UTF8_STRING, "Organisation");
    EXPECT_EQ(name_of(subject({o, ou, cn})), "Name");
    EXPECT_EQ(name_of(subject({o, ou})), "Unit");
    EXPECT_EQ(name_of(subject({o})), "Organisation");
    EXPECT_EQ(name_of(subject({})), "");
    EXPECT_EQ(name_of(subject({pair(6, DER_PRINTABLE_STRING, "CH")})), "");
}

TEST(SubjectName, the_first_of_several_counts) {
    EXPECT_EQ(name_of(subject({pair(common_name, DER_UTF8_STRING, "First"),
                               pair(common_name, DER_UTF8_STRING, "Second")})),
              "First");
}

TEST(SubjectName, several_pairs_in_one_set_are_all_looked_at) {
    encoding both = pair(organisation, DER_UTF8_STRING, "Organisation");
    const encoding cn = pair(common_name, DER_UTF8_STRING, "Name");
    both.insert(both.end(), cn.begin(), cn.end());
    EXPECT_EQ(name_of(wrap(DER_SET, both)), "Name");
}

TEST(SubjectName, an_empty_or_unreadable_value_is_passed_over) {
    EXPECT_EQ(name_of(subject(
                  {pair(common_name, DER_UTF8_STRING, ""), pair(unit, DER_UTF8_STRING, "Unit")})),
              "Unit");
    EXPECT_EQ(name_of(subject({pair(common_name, DER_UTF8_STRING, "\xC3("),
                               pair(unit, DER_UTF8_STRING, "Unit")})),
              "Unit");
    EXPECT_EQ(name_of(subject({pair(common_name, DER_OCTET_STRING, "Name"),
                               pair(unit, DER_UTF8_STRING, "Unit")})),
              "Unit");
}

TEST(SubjectName, every_kind_of_string_becomes_text) {
    EXPECT_EQ(only(DER_UTF8_STRING, "Zürich 𝔘"), "Zürich 𝔘");
    EXPECT_EQ(only(DER_PRINTABLE_STRING, "Plain"), "Plain");
    EXPECT_EQ(only(DER_NUMERIC_STRING, "12 3"), "12 3");
    EXPECT_EQ(only(DER_IA5_STRING, "a@b"), "a@b");
    EXPECT_EQ(only(DER_VISIBLE_STRING, "Plain"), "Plain");
    EXPECT_EQ(only(DER_T61_STRING, "Soci\xE9t\xE9"), "Société");
    EXPECT_EQ(only(DER_BMP_STRING, "\x04\x11\0A"sv), "БA");
    EXPECT_EQ(only(DER_BMP_STRING, "\xD8\x35\xDD\x18"sv), "𝔘");
    EXPECT_EQ(only(DER_UNIVERSAL_STRING, "\0\1\xD5\x18\0\0\0B"sv), "𝔘B");
}

TEST(SubjectName, what_is_not_well_formed_is_no_text) {
    EXPECT_EQ(only(DER_BMP_STRING, "\0A\0"sv), "");
    EXPECT_EQ(only(DER_BMP_STRING, "\xD8\x35\0A"sv), "");
    EXPECT_EQ(only(DER_UNIVERSAL_STRING, "\0\x11\0\0"sv), "");
    EXPECT_EQ(only(DER_UNIVERSAL_STRING, "\0\0\xD8\x35"sv), "");
    EXPECT_EQ(only(DER_UNIVERSAL_STRING, "\0\0A"sv), "");
}

TEST(SubjectName, a_nul_ends_the_text) {
    EXPECT_EQ(only(DER_UTF8_STRING, "Good\0 not shown"sv), "Good");
    EXPECT_EQ(only(DER_BMP_STRING, "\0G\0\0\0H"sv), "G");
    EXPECT_EQ(only(DER_UTF8_STRING, "\0 hidden"sv), "");
}

TEST(SubjectName, is_cut_at_256_units_between_characters) {
    EXPECT_EQ(only(DER_UTF8_STRING, std::string(300, 'a')), std::string(256, 'a'));
    const std::string pairs = std::string(255, 'a') + "𝔘𝔘";
    EXPECT_EQ(only(DER_UTF8_STRING, pairs), std::string(255, 'a'));
}

TEST(SubjectName, a_malformed_subject_gives_what_stands_before_the_fault) {
    encoding cut = subject({pair(unit, DER_UTF8_STRING, "Unit")});
    cut.insert(cut.end(), {0x31, 0x40, 0x30});
    EXPECT_EQ(name_of(cut), "Unit");
    EXPECT_EQ(name_of({0x31, 0x84, 0xFF, 0xFF, 0xFF, 0xFF}), "");
}

}  // namespace
}  // namespace orvu::sigcheck::tests
