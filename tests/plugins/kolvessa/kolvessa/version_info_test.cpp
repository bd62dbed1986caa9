// Opening a file's version block and reading its strings: the three results of opening, the two
// failures of reading, and how the translation is settled.

#include "plugins/kolvessa/kolvessa/version_info.h"

#include "tests/fakehost/host_test.h"
#include "tests/fixtures/pe_fixture.h"
#include "tests/fixtures/pe_tables.h"

namespace kolvessa {
namespace {

using pe_fixture::path_of;

class VersionInfo : public fakehost::HostTest {
  protected:
    int32_t open(const std::string& name) {
        reader_ = {};
        return version_info_open(reader_, path_of(name).c_str());
    }

    int32_t query(const orvu_wchar* key) {
        text_ = ORVU_TEXT("untouched");
        return version_info_query(reader_, key, text_);
    }

    std::string value(const orvu_wchar* key) {
        const int32_t code = query(key);
        return code == 0 ? fakehost::narrow(wide_string(until_nul(text_)))
                         : "none, " + std::to_string(code);
    }

    std::string original_name() { return value(ORVU_TEXT("OriginalFilename")); }

    void TearDown() override {
        reader_ = {};
        HostTest::TearDown();
    }

    VersionInfoReader reader_;
    wide_string text_;
};

TEST_F(VersionInfo, a_file_without_a_version_resource_opens_with_1) {
    for (const char* name : {"no_version.exe", "nothing.exe", "version_other_id.exe", "text.exe",
                             "empty.exe", "half.exe", "not_there.exe"}) {
        EXPECT_EQ(open(name), 1) << name;
        EXPECT_EQ(reader_.data, nullptr);
        EXPECT_EQ(query(ORVU_TEXT("ProductName")), 1);
    }
    EXPECT_EQ(version_info_open(reader_, nullptr), 1);
}

TEST_F(VersionInfo, a_refused_allocation_opens_with_0_and_finds_nothing) {
    host.fail("orvu_malloc_", 1, 0);
    EXPECT_EQ(open("plain.exe"), 0);
    EXPECT_EQ(reader_.data, nullptr);
    EXPECT_EQ(reader_.translation, 0U);
    EXPECT_EQ(query(ORVU_TEXT("ProductName")), 1);
}

TEST_F(VersionInfo, the_block_comes_from_the_hosts_memory_and_goes_back) {
    ASSERT_EQ(open("plain.exe"), 0);
    EXPECT_EQ(host.count("orvu_malloc_"), 1U);
    EXPECT_EQ(host.count("orvu_free_"), 0U);
    reader_ = {};
    EXPECT_EQ(host.count("orvu_free_"), 1U);
}

TEST_F(VersionInfo, the_four_strings_are_read) {
    ASSERT_EQ(open("plain.exe"), 0);
    EXPECT_EQ(reader_.translation, 0x040904B0U);
    EXPECT_EQ(original_name(), "plain.exe");
    EXPECT_EQ(value(ORVU_TEXT("ProductName")), "Fixture Product");
    EXPECT_EQ(value(ORVU_TEXT("LegalCopyright")), "(c) The Fixture Makers");
    EXPECT_EQ(value(ORVU_TEXT("FileDescription")), "A fixture of the build");
}

TEST_F(VersionInfo, a_value_keeps_the_nul_that_its_length_counts) {
    ASSERT_EQ(open("plain.exe"), 0);
    ASSERT_EQ(query(ORVU_TEXT("OriginalFilename")), 0);
    EXPECT_EQ(text_, wide_string(ORVU_TEXT("plain.exe")) + orvu_wchar{0});
    ASSERT_EQ(open("no_terminator.exe"), 0);
    ASSERT_EQ(query(ORVU_TEXT("OriginalFilename")), 0);
    EXPECT_EQ(text_, wide_string(ORVU_TEXT("plain.exe"), 9));
}

TEST_F(VersionInfo, every_language_and_code_page_reads_as_utf16) {
    ASSERT_EQ(open("german.exe"), 0);
    EXPECT_EQ(reader_.translation, 0x040704E4U);
    EXPECT_EQ(original_name(), "Größe.exe");
    EXPECT_EQ(value(ORVU_TEXT("LegalCopyright")), "© Öffentliche Prüfstelle");
    ASSERT_EQ(open("japanese.exe"), 0);
    EXPECT_EQ(reader_.translation, 0x041103A4U);
    EXPECT_EQ(value(ORVU_TEXT("ProductName")), "試験用アプリケーション");
    ASSERT_EQ(open("japanese32.exe"), 0);
    EXPECT_EQ(value(ORVU_TEXT("FileDescription")), "試験のための小さなプログラム");
    ASSERT_EQ(open("chinese.exe"), 0);
    EXPECT_EQ(reader_.translation, 0x080403A8U);
    EXPECT_EQ(value(ORVU_TEXT("ProductName")), "测试程序");
}

TEST_F(VersionInfo, only_the_first_translation_is_looked_at) {
    ASSERT_EQ(open("two_tables.exe"), 0);
    EXPECT_EQ(original_name(), "deutsch.exe");
    EXPECT_EQ(value(ORVU_TEXT("LegalCopyright")), "none, 1");
}

TEST_F(VersionInfo, the_first_translation_is_taken_whatever_length_the_array_states) {
    std::vector<uint8_t> bytes = pe_fixture::bytes_of("two_tables.exe");
    const std::string key("T\0r\0a\0n\0s\0l\0a\0t\0i\0o\0n\0", 22);
    const auto found = std::search(bytes.begin(), bytes.end(), key.begin(), key.end());
    ASSERT_NE(found, bytes.end());
    const auto length = static_cast<size_t>(found - bytes.begin()) - 4;
    const pe_fixture::TestFile made;
    for (const uint32_t stated : {1U, 2U}) {
        pe_fixture::put(bytes, length, 2, stated);
        made.write(bytes);
        reader_ = {};
        ASSERT_EQ(version_info_open(reader_, made.path().c_str()), 0);
        EXPECT_EQ(original_name(), "deutsch.exe") << stated;
    }
    // Without any, what follows is no entry, and the first table serves.
    pe_fixture::put(bytes, length, 2, 0);
    made.write(bytes);
    reader_ = {};
    ASSERT_EQ(version_info_open(reader_, made.path().c_str()), 0);
    EXPECT_EQ(original_name(), "english.exe");
}

TEST_F(VersionInfo, a_translation_without_its_table_gives_way_to_the_first_table) {
    ASSERT_EQ(open("translation_wrong.exe"), 0);
    EXPECT_EQ(reader_.translation, 0x040904B0U);
    EXPECT_EQ(original_name(), "translation_wrong.exe");
}

TEST_F(VersionInfo, a_first_tables_key_that_does_not_begin_with_0_is_lost) {
    ASSERT_EQ(open("translation_wrong_digit.exe"), 0);
    EXPECT_EQ(reader_.translation, 0x040904B0U);  // of 140904b0
    EXPECT_EQ(original_name(), "none, 1");
    EXPECT_EQ(value(ORVU_TEXT("ProductName")), "none, 1");
}

TEST_F(VersionInfo, without_a_translation_the_table_is_named_by_eight_zeros) {
    ASSERT_EQ(open("translation_missing.exe"), 0);
    EXPECT_EQ(reader_.translation, 0U);
    EXPECT_EQ(original_name(), "none, 1");
    ASSERT_EQ(open("translation_missing_zero.exe"), 0);
    EXPECT_EQ(reader_.translation, 0U);
    EXPECT_EQ(original_name(), "translation_missing_zero.exe");
}

TEST_F(VersionInfo, hexadecimal_keys_and_names_compare_without_case) {
    ASSERT_EQ(open("key_upper.exe"), 0);
    EXPECT_EQ(original_name(), "key_upper.exe");
    ASSERT_EQ(open("names_lower.exe"), 0);
    EXPECT_EQ(original_name(), "names_lower.exe");
    EXPECT_EQ(value(ORVU_TEXT("LegalCopyright")), "(c) The Fixture Makers");
}

TEST_F(VersionInfo, one_character_with_its_nul_is_a_value) {
    ASSERT_EQ(open("one_character.exe"), 0);
    EXPECT_EQ(original_name(), "x");
    EXPECT_EQ(value(ORVU_TEXT("ProductName")), "y");
    EXPECT_EQ(value(ORVU_TEXT("FileDescription")), "日");
}

TEST_F(VersionInfo, a_length_of_1_is_too_short_and_leaves_the_output) {
    ASSERT_EQ(open("length_one.exe"), 0);
    EXPECT_EQ(query(ORVU_TEXT("OriginalFilename")), 2);
    EXPECT_EQ(text_, ORVU_TEXT("untouched"));
    ASSERT_EQ(open("empty_values.exe"), 0);
    EXPECT_EQ(query(ORVU_TEXT("ProductName")), 2);
    EXPECT_EQ(text_, ORVU_TEXT("untouched"));
    EXPECT_EQ(value(ORVU_TEXT("LegalCopyright")), "(c) The Fixture Makers");
}

TEST_F(VersionInfo, an_original_name_of_length_1_sends_the_translation_to_the_first_table) {
    // The first table is another one than the translation's, whose own name is too short.
    std::vector<uint8_t> bytes = pe_fixture::bytes_of("two_tables.exe");
    const std::string german("d\0e\0u\0t\0s\0c\0h\0", 14);
    const auto value = std::search(bytes.begin(), bytes.end(), german.begin(), german.end());
    ASSERT_NE(value, bytes.end());
    // Header of 6 bytes, 17 characters of key, padding to 40.
    pe_fixture::put(bytes, static_cast<size_t>(value - bytes.begin()) - 40 + 2, 2, 1);
    const pe_fixture::TestFile made;
    made.write(bytes);
    ASSERT_EQ(version_info_open(reader_, made.path().c_str()), 0);
    EXPECT_EQ(reader_.translation, 0x040904B0U);
    EXPECT_EQ(original_name(), "english.exe");
}

TEST_F(VersionInfo, a_missing_original_name_settles_on_the_same_table) {
    ASSERT_EQ(open("no_original_name.exe"), 0);
    EXPECT_EQ(reader_.translation, 0x040904B0U);
    EXPECT_EQ(original_name(), "none, 1");
    EXPECT_EQ(value(ORVU_TEXT("ProductName")), "Fixture Product");
}

TEST_F(VersionInfo, a_block_without_strings_keeps_its_translation) {
    ASSERT_EQ(open("no_strings.exe"), 0);
    EXPECT_EQ(reader_.translation, 0x040904B0U);
    EXPECT_EQ(original_name(), "none, 1");
    ASSERT_EQ(open("no_such_strings.exe"), 0);
    EXPECT_EQ(original_name(), "none, 1");
}

TEST_F(VersionInfo, of_several_languages_the_neutral_one_is_read_then_english_then_the_first) {
    ASSERT_EQ(open("version_neutral.exe"), 0);
    EXPECT_EQ(original_name(), "neutral.exe");
    ASSERT_EQ(open("version_languages.exe"), 0);
    EXPECT_EQ(original_name(), "english.exe");
    ASSERT_EQ(open("version_foreign.exe"), 0);
    EXPECT_EQ(original_name(), "german.exe");
}

TEST_F(VersionInfo, resources_in_another_section_or_away_from_its_start_are_found) {
    for (const char* name : {"other_section.exe", "shifted_root.exe", "shifted_root32.exe",
                             "flat.exe", "library.dll", "windowed.exe", "plain32.exe"}) {
        ASSERT_EQ(open(name), 0) << name;
        EXPECT_EQ(original_name(), "plain.exe") << name;
    }
}

TEST_F(VersionInfo, a_key_too_long_for_the_query_is_cut_and_not_found) {
    ASSERT_EQ(open("plain.exe"), 0);
    EXPECT_EQ(query(wide_string(500, 'k').c_str()), 1);
}

}  // namespace
}  // namespace kolvessa
