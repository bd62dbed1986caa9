// What an image view promises: result codes, bytes at relative addresses as the loader would lay
// them out, and no byte that the image has not got.

#include "plugins/kolvessa/platform/executable_file.h"

#include <gtest/gtest.h>

#include "plugins/kolvessa/platform/little_endian.h"
#include "tests/fixtures/pe_fixture.h"
#include "tests/fixtures/pe_tables.h"

namespace kolvessa::platform {
namespace {

using pe_fixture::bytes_of;
using pe_fixture::path_of;
using pe_fixture::PeTables;
using pe_fixture::TestFile;

view_status status_of(const wide_string& path) {
    return ExecutableFile(path.c_str()).open_view();
}

view_status status_of(const std::vector<uint8_t>& bytes) {
    const TestFile file;
    file.write(bytes);
    return status_of(file.path());
}

TEST(ExecutableFile, images_of_both_widths_and_a_library_have_a_view) {
    for (const char* name : {"plain.exe", "plain32.exe", "windowed.exe", "library.dll", "flat.exe",
                             "nothing.exe", "other_section.exe", "shifted_root32.exe"}) {
        EXPECT_EQ(status_of(path_of(name)), view_status::ok) << name;
    }
}

TEST(ExecutableFile, what_is_not_there_is_no_file) {
    EXPECT_EQ(status_of(path_of("not_there.exe")), view_status::no_file);
    EXPECT_EQ(status_of(path_of("")), view_status::no_file);
    EXPECT_EQ(status_of(ORVU_TEXT("")), view_status::no_file);
    EXPECT_EQ(status_of(ORVU_TEXT("Q:\\no\\such\\drive.exe")), view_status::no_file);
    EXPECT_EQ(ExecutableFile(nullptr).open_view(), view_status::no_file);
}

TEST(ExecutableFile, text_and_empty_files_are_no_mapping) {
    EXPECT_EQ(status_of(path_of("text.exe")), view_status::no_mapping);
    EXPECT_EQ(status_of(path_of("empty.exe")), view_status::no_mapping);
}

TEST(ExecutableFile, a_truncated_image_has_no_view) {
    EXPECT_NE(status_of(path_of("half.exe")), view_status::ok);
}

TEST(ExecutableFile, the_first_result_stays) {
    const TestFile file;
    const wide_string path = file.path();
    ExecutableFile executable(path.c_str());
    EXPECT_EQ(executable.open_view(), view_status::no_file);
    file.write(bytes_of("plain.exe"));
    EXPECT_EQ(executable.open_view(), view_status::no_file);
    EXPECT_EQ(status_of(path), view_status::ok);
}

TEST(ExecutableFile, headers_and_sections_lie_at_their_relative_addresses) {
    for (const char* name : {"plain.exe", "plain32.exe", "flat.exe", "library.dll"}) {
        const std::vector<uint8_t> bytes = bytes_of(name);
        const PeTables tables(bytes);
        const wide_string path = path_of(name);
        ExecutableFile file(path.c_str());
        ASSERT_EQ(file.open_view(), view_status::ok);
        const std::span<const uint8_t> start = file.at(0, 64);
        ASSERT_EQ(start.size(), 64U);
        EXPECT_TRUE(std::equal(start.begin(), start.end(), bytes.begin())) << name;
        const uint32_t address = tables.get(tables.resource_address_field(), 4);
        const std::span<const uint8_t> root = file.at(address, 200);
        ASSERT_EQ(root.size(), 200U);
        EXPECT_TRUE(std::equal(root.begin(), root.end(),
                               bytes.begin() + static_cast<std::ptrdiff_t>(tables.root())))
            << name;
    }
}

TEST(ExecutableFile, nothing_lies_outside_the_image) {
    const std::vector<uint8_t> bytes = bytes_of("plain.exe");
    const PeTables tables(bytes);
    const uint32_t image_size = tables.get(tables.pe() + 24 + 56, 4);
    const wide_string path = path_of("plain.exe");
    ExecutableFile file(path.c_str());
    ASSERT_EQ(file.open_view(), view_status::ok);
    EXPECT_TRUE(file.at(image_size, 1).empty());
    EXPECT_TRUE(file.at(image_size - 4, 8).empty());
    EXPECT_TRUE(file.at(UINT32_MAX, 1).empty());
    EXPECT_TRUE(file.at(UINT32_MAX - 3, 8).empty());
    EXPECT_TRUE(file.at(0, UINT32_MAX).empty());
    EXPECT_TRUE(file.at(tables.get(tables.resource_address_field(), 4), UINT32_MAX).empty());
}

TEST(ExecutableFile, what_it_holds_is_what_it_gives) {
    for (const char* name : {"plain.exe", "plain32.exe", "flat.exe"}) {
        const std::vector<uint8_t> bytes = bytes_of(name);
        const PeTables tables(bytes);
        const uint32_t root = tables.get(tables.resource_address_field(), 4);
        const uint32_t image_size = tables.get(tables.pe() + 24 + 56, 4);
        const wide_string path = path_of(name);
        ExecutableFile file(path.c_str());
        ASSERT_EQ(file.open_view(), view_status::ok);
        EXPECT_TRUE(file.holds(root, 16)) << name;
        for (const uint32_t address : {0U, 60U, root, root + 200, image_size - 4, image_size,
                                       0x7FFFFFFFU, UINT32_MAX - 3, UINT32_MAX}) {
            for (const uint32_t length : {0U, 1U, 4U, 5U, 4096U, 4097U, UINT32_MAX}) {
                EXPECT_EQ(file.holds(address, length),
                          length != 0 && !file.at(address, length).empty())
                    << name << " " << address << " " << length;
            }
        }
    }
}

TEST(ExecutableFile, a_section_ends_in_zeros_up_to_its_page) {
    const std::vector<uint8_t> bytes = bytes_of("plain.exe");
    const PeTables tables(bytes);
    const wide_string path = path_of("plain.exe");
    ExecutableFile file(path.c_str());
    ASSERT_EQ(file.open_view(), view_status::ok);
    const uint32_t section = tables.get(tables.resource_address_field(), 4);
    const std::span<const uint8_t> page = file.at(section, 4096);
    ASSERT_EQ(page.size(), 4096U);
    EXPECT_EQ(u32_at(page.data() + 4092), 0U);
    EXPECT_TRUE(std::equal(page.begin(), page.begin() + 64,
                           bytes.begin() + static_cast<std::ptrdiff_t>(tables.root())));
}

TEST(ExecutableFile, an_image_cut_anywhere_opens_or_not_but_never_faults) {
    const std::vector<uint8_t> whole = bytes_of("plain.exe");
    const TestFile made;
    const wide_string path = made.path();
    for (size_t length = 0; length < whole.size(); length += 61) {
        made.write({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)});
        ExecutableFile file(path.c_str());
        if (file.open_view() == view_status::ok) {
            EXPECT_GT(length, whole.size() - 512);
            EXPECT_TRUE(file.at(0x7FFFFFFF, 16).empty());
        }
    }
}

TEST(ExecutableFile, too_many_sections_are_refused) {
    std::vector<uint8_t> bytes = bytes_of("plain.exe");
    pe_fixture::put(bytes, PeTables(bytes).pe() + 6, 2, 0xFFFF);
    EXPECT_NE(status_of(bytes), view_status::ok);
}

TEST(ExecutableFile, headers_that_the_loader_refuses_have_no_view) {
    const std::vector<uint8_t> sound = bytes_of("plain.exe");
    const size_t pe = PeTables(sound).pe();
    const size_t section = pe + 24 + PeTables(sound).get(pe + 20, 2);
    const std::vector<std::pair<size_t, uint32_t>> refused = {
        {pe + 4, 0x014C},          // a 32-bit machine under a 64-bit header
        {pe + 4, 0x1234},          // no machine
        {pe + 4, 0xAA64},          // a machine of another processor
        {pe + 24, 0x0107},         // no image header
        {pe + 24 + 56, 0},         // an image of no size
        {section + 12, 0x1004},    // a section away from its page
        {section + 12, 0xFFF000},  // a section outside the image
        {section + 20, 0x100000},  // a section outside the file
    };
    for (const auto& [offset, value] : refused) {
        std::vector<uint8_t> bytes = sound;
        pe_fixture::put(bytes, offset, value > 0xFFFF || offset >= section ? 4 : 2, value);
        if (offset == pe + 24 + 56) {
            pe_fixture::put(bytes, offset, 4, value);
        }
        EXPECT_NE(status_of(bytes), view_status::ok) << offset << " " << value;
    }
    EXPECT_EQ(status_of(sound), view_status::ok);
}

TEST(ExecutableFile, a_section_that_may_not_be_read_holds_no_data) {
    std::vector<uint8_t> bytes = bytes_of("plain.exe");
    const PeTables tables(bytes);
    const size_t last = tables.pe() + 24 + tables.get(tables.pe() + 20, 2) +
                        40 * (tables.get(tables.pe() + 6, 2) - 1);
    pe_fixture::put(bytes, last + 36, 4, 0x40);
    const TestFile made;
    made.write(bytes);
    const wide_string path = made.path();
    ExecutableFile file(path.c_str());
    ASSERT_EQ(file.open_view(), view_status::ok);
    EXPECT_TRUE(file.at(tables.get(last + 12, 4), 16).empty());
    EXPECT_EQ(file.version_size(), 0U);
}

TEST(ExecutableFile, a_resource_directory_without_room_for_its_header_holds_no_version) {
    std::vector<uint8_t> bytes = bytes_of("plain.exe");
    pe_fixture::put(bytes, PeTables(bytes).resource_address_field() + 4, 4, 15);
    const TestFile made;
    made.write(bytes);
    const wide_string path = made.path();
    EXPECT_EQ(ExecutableFile(path.c_str()).version_size(), 0U);
}

TEST(ExecutableFile, a_version_block_has_room_for_its_resource) {
    const std::vector<uint8_t> bytes = bytes_of("plain.exe");
    const PeTables tables(bytes);
    const wide_string path = path_of("plain.exe");
    ExecutableFile file(path.c_str());
    const uint32_t size = file.version_size();
    const uint32_t length = tables.get(tables.data(16), 2);
    ASSERT_GE(size, length);
    std::vector<uint8_t> block(size);
    ASSERT_TRUE(file.version_read(block));
    EXPECT_TRUE(std::equal(block.begin(), block.begin() + length,
                           bytes.begin() + static_cast<std::ptrdiff_t>(tables.data(16))));
}

TEST(ExecutableFile, a_version_block_has_a_bound_whatever_its_resource_says) {
    std::vector<uint8_t> bytes = bytes_of("plain.exe");
    const PeTables tables(bytes);
    const size_t section = tables.pe() + 24 + tables.get(tables.pe() + 20, 2) +
                           40 * (tables.get(tables.pe() + 6, 2) - 1);
    constexpr uint32_t SIZE = 1U << 20;
    const uint32_t address = tables.get(section + 12, 4);
    const uint32_t inside = tables.get(tables.data_entry(16), 4) - address;
    pe_fixture::put(bytes, tables.data_entry(16) + 4, 4, SIZE - inside);
    pe_fixture::put(bytes, tables.pe() + 24 + 56, 4, address + SIZE);
    pe_fixture::put(bytes, section + 8, 4, SIZE);
    pe_fixture::put(bytes, section + 16, 4, SIZE);
    bytes.resize(tables.get(section + 20, 4) + SIZE);
    const TestFile made;
    made.write(bytes);
    const wide_string path = made.path();
    ExecutableFile file(path.c_str());
    const uint32_t size = file.version_size();
    EXPECT_EQ(size, 2U * 0x10000 + 4);
    std::vector<uint8_t> block(size);
    EXPECT_TRUE(file.version_read(block));
}

TEST(ExecutableFile, no_version_resource_is_size_0) {
    for (const char* name : {"no_version.exe", "nothing.exe", "version_other_id.exe", "text.exe",
                             "empty.exe", "half.exe", "not_there.exe"}) {
        const wide_string path = path_of(name);
        EXPECT_EQ(ExecutableFile(path.c_str()).version_size(), 0U) << name;
    }
    EXPECT_EQ(ExecutableFile(nullptr).version_size(), 0U);
}

TEST(ExecutableFile, version_data_outside_the_image_is_no_data) {
    std::vector<uint8_t> bytes = bytes_of("plain.exe");
    const PeTables tables(bytes);
    const size_t entry = tables.data_entry(16);
    const TestFile made;
    const wide_string path = made.path();
    for (const auto& [address, size] : std::vector<std::pair<uint32_t, uint32_t>>{
             {0x00F00000, 100}, {0xFFFFFFF0, 0x100}, {tables.get(entry, 4), 0x7FFFFFFF}}) {
        std::vector<uint8_t> changed = bytes;
        pe_fixture::put(changed, entry, 4, address);
        pe_fixture::put(changed, entry + 4, 4, size);
        made.write(changed);
        ExecutableFile file(path.c_str());
        const uint32_t block_size = file.version_size();
        std::vector<uint8_t> block(block_size);
        EXPECT_TRUE(block_size == 0 || !file.version_read(block)) << address << " " << size;
    }
}

}  // namespace
}  // namespace kolvessa::platform
