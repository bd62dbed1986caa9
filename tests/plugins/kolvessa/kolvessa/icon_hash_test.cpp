// The hash of the first icon image, with the exact code of each failure.

#include "plugins/kolvessa/kolvessa/icon_hash.h"

#include "orvualgo.h"
#include "tests/fakehost/host_test.h"
#include "tests/fixtures/pe_fixture.h"
#include "tests/fixtures/pe_tables.h"

namespace kolvessa {
namespace {

using pe_fixture::path_of;
using pe_fixture::PeTables;
using pe_fixture::put;

constexpr uint32_t RT_ICON_ID = 3;

// Digests by md5sum of the two images in the fixtures' resource text.
const std::string FIRST_ICON = "f601ca27640e2b5856e304cacd1ab0d3";
const std::string SECOND_ICON = "eb99fd782d6464ade66eb563819b279c";

class IconHash : public fakehost::HostTest {
  protected:
    static std::string hash(const wide_string& path) {
        char text[33] = {};
        const int32_t code = calc_icon_hash(path.c_str(), text);
        return code == 0 ? text : std::to_string(code) + text;
    }

    static std::string hash_of(const std::string& name) { return hash(path_of(name)); }

    static std::string hash_of(const std::vector<uint8_t>& bytes) {
        const pe_fixture::TestFile made;
        made.write(bytes);
        return hash(made.path());
    }

    static std::string md5(const uint8_t* data, size_t size) {
        uint8_t digest[16];
        char text[33];
        EXPECT_EQ(orvu_md5_calc(data, static_cast<uint32_t>(size), digest), 0);
        orvu_md5_bin2str(digest, text);
        return text;
    }
};

TEST_F(IconHash, a_null_path_gives_11) {
    char text[33] = {};
    EXPECT_EQ(calc_icon_hash(nullptr, text), 11);
    EXPECT_STREQ(text, "");
}

TEST_F(IconHash, a_file_that_can_not_be_opened_gives_21) {
    EXPECT_EQ(hash_of("not_there.exe"), "21");
    EXPECT_EQ(hash(ORVU_TEXT("")), "21");
    EXPECT_EQ(hash(ORVU_TEXT("Q:\\nowhere\\file.exe")), "21");
}

TEST_F(IconHash, a_file_that_is_no_image_gives_31) {
    EXPECT_EQ(hash_of("text.exe"), "31");
    EXPECT_EQ(hash_of("empty.exe"), "31");
}

TEST_F(IconHash, an_image_without_a_resource_directory_gives_6) {
    EXPECT_EQ(hash_of("nothing.exe"), "6");
    std::vector<uint8_t> bytes = pe_fixture::bytes_of("plain.exe");
    put(bytes, PeTables(bytes).resource_address_field(), 4, 0);
    EXPECT_EQ(hash_of(bytes), "6");
}

TEST_F(IconHash, an_image_without_icons_gives_4) {
    EXPECT_EQ(hash_of("japanese.exe"), "4");
    std::vector<uint8_t> bytes = pe_fixture::bytes_of("plain.exe");
    put(bytes, PeTables(bytes).root() + 12, 4, 0);
    EXPECT_EQ(hash_of(bytes), "4");
}

TEST_F(IconHash, a_group_icon_alone_gives_no_hash) {
    EXPECT_EQ(hash_of("icon_group_only.exe"), "4");
}

TEST_F(IconHash, one_icon_is_hashed_over_its_raw_bytes) {
    const std::vector<uint8_t> bytes = pe_fixture::bytes_of("plain.exe");
    const PeTables tables(bytes);
    const uint32_t size = tables.get(tables.data_entry(RT_ICON_ID) + 4, 4);
    EXPECT_EQ(hash_of("plain.exe"), md5(bytes.data() + tables.data(RT_ICON_ID), size));
    EXPECT_EQ(hash_of("plain.exe"), FIRST_ICON);
}

TEST_F(IconHash, of_several_icons_the_first_of_the_tree_counts) {
    EXPECT_EQ(hash_of("icon_several.exe"), SECOND_ICON);
    EXPECT_EQ(hash_of("icon_languages.exe"), SECOND_ICON);
}

TEST_F(IconHash, named_icons_come_before_numbered_ones) {
    EXPECT_EQ(hash_of("icon_named.exe"), SECOND_ICON);
}

TEST_F(IconHash, two_files_with_the_same_first_icon_have_the_same_hash) {
    for (const char* name : {"icon_same.exe", "plain32.exe", "library.dll", "windowed.exe",
                             "no_version.exe", "flat.exe"}) {
        EXPECT_EQ(hash_of(name), FIRST_ICON) << name;
    }
}

TEST_F(IconHash, a_first_id_with_an_empty_language_directory_gives_way_to_the_next) {
    EXPECT_EQ(hash_of("icon_first_empty.exe"), FIRST_ICON);
}

TEST_F(IconHash, when_every_language_directory_is_empty_there_is_no_icon) {
    std::vector<uint8_t> bytes = pe_fixture::bytes_of("plain.exe");
    const PeTables tables(bytes);
    // The tree of one icon: root, type, language directory, one behind the other.
    const size_t type = tables.root() + (tables.get(tables.root() + 20, 4) & 0x7FFFFFFF);
    const size_t language = tables.root() + (tables.get(type + 20, 4) & 0x7FFFFFFF);
    put(bytes, language + 12, 4, 0);
    EXPECT_EQ(hash_of(bytes), "4");
}

TEST_F(IconHash, a_second_icon_entry_of_the_root_is_searched_when_the_first_has_nothing) {
    // The version entry is turned into an icon entry, the icon entry's own directory emptied.
    std::vector<uint8_t> bytes = pe_fixture::bytes_of("plain.exe");
    const PeTables tables(bytes);
    const size_t root = tables.root();
    const size_t type = root + (tables.get(root + 20, 4) & 0x7FFFFFFF);
    const size_t version = tables.data(16);
    const uint32_t version_size = tables.get(tables.data_entry(16) + 4, 4);
    put(bytes, type + 12, 4, 0);
    put(bytes, root + 16 + 8, 4, RT_ICON_ID);
    EXPECT_EQ(hash_of(bytes), md5(bytes.data() + version, version_size));
}

TEST_F(IconHash, resources_in_another_section_or_away_from_its_start_are_found) {
    for (const char* name : {"other_section.exe", "shifted_root.exe", "shifted_root32.exe"}) {
        EXPECT_EQ(hash_of(name), FIRST_ICON) << name;
    }
}

TEST_F(IconHash, data_outside_the_file_is_no_data) {
    EXPECT_EQ(hash_of("icon_outside.exe"), "4");
    std::vector<uint8_t> bytes = pe_fixture::bytes_of("plain.exe");
    const size_t entry = PeTables(bytes).data_entry(RT_ICON_ID);
    put(bytes, entry + 4, 4, 0x03000000);
    EXPECT_EQ(hash_of(bytes), "4");
    put(bytes, entry + 4, 4, 0xFFFFFFFF);
    EXPECT_EQ(hash_of(bytes), "4");
}

TEST_F(IconHash, no_bytes_hash_like_nothing) {
    std::vector<uint8_t> bytes = pe_fixture::bytes_of("plain.exe");
    put(bytes, PeTables(bytes).data_entry(RT_ICON_ID) + 4, 4, 0);
    EXPECT_EQ(hash_of(bytes), "d41d8cd98f00b204e9800998ecf8427e");
}

TEST_F(IconHash, a_tree_that_leads_back_to_itself_ends) {
    std::vector<uint8_t> bytes = pe_fixture::bytes_of("plain.exe");
    const PeTables tables(bytes);
    const size_t root = tables.root();
    // The icon type's directory is the root itself, whose entries then pass for icons.
    put(bytes, root + 20, 4, 0x80000000);
    hash_of(bytes);
    // A root of 131070 entries, each an icon type of as many ids.
    put(bytes, root + 12, 4, 0xFFFFFFFF);
    hash_of(bytes);
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(root + 16);
    for (size_t at = root + 16; at + 8 <= bytes.size(); at += 8) {
        put(bytes, at, 4, RT_ICON_ID);
        put(bytes, at + 4, 4, 0x80000000);
    }
    EXPECT_NE(begin, bytes.end());
    EXPECT_EQ(hash_of(bytes).size(), 1U);
}

TEST_F(IconHash, an_icon_larger_than_the_windows_of_the_reader_is_hashed_whole) {
    // The icon's data grows over the end of the file, in a section made larger.
    std::vector<uint8_t> bytes = pe_fixture::bytes_of("icon_same.exe");
    const PeTables tables(bytes);
    constexpr uint32_t SIZE = 300000;
    const size_t section = tables.pe() + 24 + tables.get(tables.pe() + 20, 2) +
                           40 * (tables.get(tables.pe() + 6, 2) - 1);
    const uint32_t address = tables.get(section + 12, 4);
    const auto raw = tables.get(section + 20, 4);
    const auto start = static_cast<uint32_t>(bytes.size()) - raw;
    for (uint32_t i = 0; i < SIZE; ++i) {
        bytes.push_back(static_cast<uint8_t>(i * 7 + i / 1000));
    }
    bytes.resize((bytes.size() + 511) / 512 * 512);
    const auto grown = static_cast<uint32_t>(bytes.size()) - raw;
    put(bytes, section + 8, 4, grown);
    put(bytes, section + 16, 4, grown);
    put(bytes, tables.pe() + 24 + 56, 4, (address + grown + 4095) / 4096 * 4096);
    const size_t entry = PeTables(bytes).data_entry(RT_ICON_ID);
    put(bytes, entry, 4, address + start);
    put(bytes, entry + 4, 4, SIZE);
    EXPECT_EQ(hash_of(bytes), md5(bytes.data() + raw + start, SIZE));
}

}  // namespace
}  // namespace kolvessa
