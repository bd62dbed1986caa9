// Queries of a version block give what the system's own call gives for the same block.

#include "plugins/kolvessa/platform/version_query.h"

#include <gtest/gtest.h>

#include <vector>

#include "plugins/kolvessa/kolvessa/version_block.h"
#include "plugins/kolvessa/platform/executable_file.h"
#include "tests/fixtures/pe_fixture.h"

namespace kolvessa::platform {
namespace {

std::vector<uint8_t> block_of(const std::string& name) {
    const wide_string path = pe_fixture::path_of(name);
    ExecutableFile file(path.c_str());
    std::vector<uint8_t> block(file.version_size());
    EXPECT_TRUE(file.version_read(block));
    EXPECT_NE(bound_version_block(block), 0U);
    return block;
}

wide_string text_at(const uint8_t* data, size_t length) {
    wide_string text;
    for (size_t i = 0; i < length; ++i) {
        text += static_cast<orvu_wchar>(data[2 * i] | data[2 * i + 1] << 8);
    }
    return text;
}

TEST(VersionQuery, a_strings_length_counts_its_nul) {
    const std::vector<uint8_t> block = block_of("plain.exe");
    version_value value;
    ASSERT_TRUE(
        version_query(block, ORVU_TEXT("\\StringFileInfo\\040904b0\\OriginalFilename"), value));
    EXPECT_EQ(value.length, 10U);
    EXPECT_EQ(text_at(value.data, 9), ORVU_TEXT("plain.exe"));
    EXPECT_EQ(text_at(value.data + 18, 1)[0], 0);
}

TEST(VersionQuery, one_character_with_its_nul_reports_2_and_an_empty_text_1) {
    const std::vector<uint8_t> one = block_of("one_character.exe");
    version_value value;
    ASSERT_TRUE(version_query(one, ORVU_TEXT("\\StringFileInfo\\040904b0\\ProductName"), value));
    EXPECT_EQ(value.length, 2U);
    const std::vector<uint8_t> none = block_of("empty_values.exe");
    ASSERT_TRUE(version_query(none, ORVU_TEXT("\\StringFileInfo\\040904b0\\ProductName"), value));
    EXPECT_EQ(value.length, 1U);
}

TEST(VersionQuery, keys_compare_without_case) {
    const std::vector<uint8_t> upper = block_of("key_upper.exe");
    version_value value;
    EXPECT_TRUE(version_query(upper, ORVU_TEXT("\\StringFileInfo\\040904b0\\productname"), value));
    EXPECT_TRUE(version_query(upper, ORVU_TEXT("\\STRINGFILEINFO\\040904B0\\PRODUCTNAME"), value));
}

TEST(VersionQuery, the_string_list_points_at_its_first_table) {
    const std::vector<uint8_t> block = block_of("two_tables.exe");
    version_value value;
    ASSERT_TRUE(version_query(block, ORVU_TEXT("\\StringFileInfo"), value));
    EXPECT_EQ(text_at(value.data + 6, 8), ORVU_TEXT("040904b0"));
}

TEST(VersionQuery, the_translation_is_language_and_code_page) {
    const std::vector<uint8_t> block = block_of("japanese.exe");
    version_value value;
    ASSERT_TRUE(version_query(block, ORVU_TEXT("\\VarFileInfo\\Translation"), value));
    EXPECT_EQ(value.length, 4U);
    EXPECT_EQ(text_at(value.data, 2), (wide_string{0x0411, 0x03a4}));
}

TEST(VersionQuery, a_key_that_is_not_there_gives_nothing) {
    const std::vector<uint8_t> block = block_of("plain.exe");
    version_value value;
    for (const orvu_wchar* text :
         {ORVU_TEXT("\\StringFileInfo\\040704b0\\ProductName"),
          ORVU_TEXT("\\StringFileInfo\\040904b0\\ProductNam"),
          ORVU_TEXT("\\StringFileInfo\\040904b0\\ProductNames"),
          ORVU_TEXT("\\StringFileInfo\\040904b\\ProductName"), ORVU_TEXT("\\StringFileInf"),
          ORVU_TEXT("\\VarFileInfo\\Translations")}) {
        EXPECT_FALSE(version_query(block, text, value));
    }
}

TEST(VersionQuery, slashes_may_be_doubled_and_the_root_may_be_asked_for) {
    const std::vector<uint8_t> block = block_of("plain.exe");
    version_value value;
    EXPECT_TRUE(
        version_query(block, ORVU_TEXT("StringFileInfo\\\\040904b0\\\\ProductName"), value));
    ASSERT_TRUE(version_query(block, ORVU_TEXT("\\"), value));
    EXPECT_EQ(value.length, 52U);  // the fixed part
    EXPECT_EQ(text_at(value.data, 2), (wide_string{0x04BD, 0xFEEF}));
}

}  // namespace
}  // namespace kolvessa::platform
