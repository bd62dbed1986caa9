// A block whose lengths lie is cut so that no query leaves it; a sound block is left alone.

#include "plugins/kolvessa/kolvessa/version_block.h"

#include <gtest/gtest.h>

#include "plugins/kolvessa/platform/executable_file.h"
#include "plugins/kolvessa/platform/version_query.h"
#include "tests/fixtures/pe_fixture.h"
#include "tests/fixtures/pe_tables.h"

namespace kolvessa {
namespace {

using pe_fixture::put;

constexpr size_t ROOM = 256;

// A block of one string: root at 0, list at 40, table at 76, string at 100. The list may have a
// value of its own, which moves what follows.
std::vector<uint8_t> small_block(uint32_t list_type = 1, uint32_t list_value = 0,
                                 uint32_t moved = 0) {
    std::vector<uint8_t> block(ROOM);
    const auto node = [&](size_t at, uint32_t length, uint32_t value, const char* key) {
        put(block, at, 2, length);
        put(block, at + 2, 2, value);
        put(block, at + 4, 2, 1);
        for (size_t i = 0; key[i] != 0; ++i) {
            block[at + 6 + 2 * i] = static_cast<uint8_t>(key[i]);
        }
    };
    node(0, 124 + moved, 0, "VS_VERSION_INFO");
    put(block, 4, 2, 0);
    node(40, 84 + moved, list_value, "StringFileInfo");
    put(block, 44, 2, list_type);
    node(76 + moved, 48, 0, "000004b0");
    node(100 + moved, 24, 4, "Key");
    put(block, 116 + moved, 4, 0x00620061);
    put(block, 120 + moved, 4, 0x00000063);
    return block;
}

bool finds(const std::vector<uint8_t>& block) {
    platform::version_value value;
    return platform::version_query(block, ORVU_TEXT("\\StringFileInfo\\000004b0\\Key"), value);
}

TEST(VersionBlock, a_sound_block_is_left_alone) {
    std::vector<uint8_t> block = small_block();
    const std::vector<uint8_t> before = block;
    EXPECT_EQ(bound_version_block(block), 124U);
    EXPECT_EQ(block, before);
    EXPECT_TRUE(finds(block));
}

TEST(VersionBlock, the_blocks_of_the_build_are_left_alone) {
    for (const char* name :
         {"plain.exe", "two_tables.exe", "one_character.exe", "no_strings.exe"}) {
        const wide_string path = pe_fixture::path_of(name);
        platform::ExecutableFile file(path.c_str());
        std::vector<uint8_t> block(file.version_size());
        ASSERT_TRUE(file.version_read(block));
        const std::vector<uint8_t> before = block;
        EXPECT_NE(bound_version_block(block), 0U);
        EXPECT_EQ(block, before) << name;
    }
}

TEST(VersionBlock, nodes_follow_a_value_that_counts_bytes_or_characters) {
    for (const auto& [type, moved] : std::vector<std::pair<uint32_t, uint32_t>>{{0, 4}, {1, 8}}) {
        std::vector<uint8_t> block = small_block(type, 4, moved);
        EXPECT_EQ(bound_version_block(block), 124 + moved);
        EXPECT_TRUE(finds(block)) << type;
        block = small_block(type, 4, 12 - moved);
        bound_version_block(block);
        EXPECT_FALSE(finds(block)) << type;
    }
}

TEST(VersionBlock, a_block_longer_than_its_room_is_cut) {
    std::vector<uint8_t> block = small_block();
    put(block, 0, 2, 0xFFFF);
    const size_t end = bound_version_block(block);
    EXPECT_LT(end, ROOM);
    EXPECT_TRUE(finds(block));
}

TEST(VersionBlock, a_node_longer_than_the_one_around_it_is_cut_and_still_found) {
    const std::vector<uint8_t> sound = small_block();
    for (const size_t node : {size_t{40}, size_t{76}, size_t{100}}) {
        for (const uint32_t length : {125U, 0x7FFFU, 0xFFF0U, 0xFFFFU}) {
            std::vector<uint8_t> block = sound;
            put(block, node, 2, length);
            EXPECT_EQ(bound_version_block(block), 124U);
            EXPECT_EQ(block, sound) << node << " " << length;
        }
    }
}

TEST(VersionBlock, a_key_without_an_end_is_blanked) {
    std::vector<uint8_t> block = small_block();
    for (size_t at = 106; at < 124; at += 2) {
        put(block, at, 2, 'k');
    }
    EXPECT_EQ(bound_version_block(block), 124U);
    EXPECT_EQ(block[106], 0);
}

TEST(VersionBlock, the_old_layouts_type_is_taken_away) {
    std::vector<uint8_t> block = small_block();
    put(block, 4, 2, 'V' | 'S' << 8);
    EXPECT_EQ(bound_version_block(block), 124U);
    EXPECT_EQ(block[4], 0);
    EXPECT_EQ(block[5], 0);
}

TEST(VersionBlock, what_is_no_block_has_no_end) {
    std::vector<uint8_t> nothing;
    EXPECT_EQ(bound_version_block(nothing), 0U);
    std::vector<uint8_t> tiny(8, 0xFF);
    EXPECT_EQ(bound_version_block(tiny), 0U);
    std::vector<uint8_t> zeros(100);
    EXPECT_EQ(bound_version_block(zeros), 0U);
    std::vector<uint8_t> ones(100, 0xFF);
    EXPECT_EQ(bound_version_block(ones), 0U);
}

TEST(VersionBlock, blanking_is_a_fixed_point) {
    const std::vector<uint8_t> sound = small_block();
    for (size_t at = 0; at < 124; at += 2) {
        for (const uint32_t value : {0U, 1U, 7U, 8U, 0x7FFFU, 0x8000U, 0xFFFFU}) {
            std::vector<uint8_t> block = sound;
            put(block, at, 2, value);
            const size_t end = bound_version_block(block);
            EXPECT_LE(end, ROOM - 8);
            std::vector<uint8_t> again = block;
            EXPECT_EQ(bound_version_block(again), end);
            EXPECT_EQ(again, block) << at << " " << value;
        }
    }
}

}  // namespace
}  // namespace kolvessa
