// Files that lie: every length, count and offset in turn set to what hurts, and files cut at every
// length. Each is read to an end, and nothing outside it is touched, which the address sanitizer's
// build checks.

#include <chrono>
#include <functional>

#include "plugins/kolvessa/kolvessa/app_info.h"
#include "plugins/kolvessa/kolvessa/icon_hash.h"
#include "tests/fakehost/host_test.h"
#include "tests/fixtures/pe_fixture.h"
#include "tests/fixtures/pe_tables.h"

namespace kolvessa {
namespace {

using pe_fixture::bytes_of;
using pe_fixture::PeTables;
using pe_fixture::put;
using pe_fixture::TestFile;

class HostilePe : public fakehost::HostTest {
  protected:
    // Reads a file and checks what holds for any: a name is always found, a hash has its form.
    void read(const std::vector<uint8_t>& bytes) {
        made_.write(bytes);
        AppInfo info;
        ASSERT_TRUE(read_app_info(path_.c_str(), false, info));
        EXPECT_TRUE(info.iconhash.empty() || info.iconhash.size() == 32);
        EXPECT_LE(info.productname.size(), 0x8000U);
        ++read_;
    }

    void falsify(const std::string& name) {
        const std::vector<uint8_t> sound = bytes_of(name);
        const PeTables tables(sound);
        const auto file_size = static_cast<uint32_t>(sound.size());
        for (const pe_fixture::field& field : tables.fields()) {
            if (field.offset + static_cast<size_t>(field.size) > sound.size()) {
                continue;
            }
            const uint32_t value = tables.get(field.offset, field.size);
            for (const uint32_t hostile :
                 {0U, 1U, value - 1, value + 1, file_size, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
                std::vector<uint8_t> bytes = sound;
                put(bytes, field.offset, field.size, hostile);
                ASSERT_NO_FATAL_FAILURE(read(bytes)) << field.offset << " " << hostile;
            }
        }
    }

    TestFile made_;
    wide_string path_ = made_.path();
    size_t read_ = 0;
};

TEST_F(HostilePe, every_field_of_an_image_may_lie) {
    falsify("plain.exe");
    EXPECT_GT(read_, 3000U);
}

TEST_F(HostilePe, every_field_of_a_32_bit_image_may_lie) {
    falsify("plain32.exe");
    EXPECT_GT(read_, 3000U);
}

TEST_F(HostilePe, every_field_of_a_flat_image_may_lie) {
    falsify("flat.exe");
    EXPECT_GT(read_, 3000U);
}

TEST_F(HostilePe, every_field_around_a_wrong_translation_may_lie) {
    falsify("translation_wrong.exe");
    EXPECT_GT(read_, 2000U);
}

TEST_F(HostilePe, a_file_may_end_anywhere) {
    const std::vector<uint8_t> whole = bytes_of("plain32.exe");
    for (size_t length = 0; length <= whole.size(); ++length) {
        ASSERT_NO_FATAL_FAILURE(
            read({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)}));
    }
}

TEST_F(HostilePe, resources_may_be_noise) {
    const std::vector<uint8_t> sound = bytes_of("plain.exe");
    const PeTables tables(sound);
    uint32_t state = 12345;
    for (int round = 0; round < 500; ++round) {
        std::vector<uint8_t> bytes = sound;
        for (int i = 0; i < 1 + round % 40; ++i) {
            state = state * 1664525 + 1013904223;
            const size_t at = tables.root() + (state >> 8) % (bytes.size() - tables.root());
            state = state * 1664525 + 1013904223;
            bytes[at] = static_cast<uint8_t>(state >> 24);
        }
        ASSERT_NO_FATAL_FAILURE(read(bytes));
    }
}

TEST_F(HostilePe, a_tree_of_a_hundred_thousand_entries_is_given_up_in_time) {
    // A large section full of icon entries, each with all the others below it and none with data.
    std::vector<uint8_t> bytes = bytes_of("icon_same.exe");
    const PeTables tables(bytes);
    const size_t section = tables.pe() + 24 + tables.get(tables.pe() + 20, 2) +
                           40 * (tables.get(tables.pe() + 6, 2) - 1);
    constexpr uint32_t SIZE = 4U << 20;
    constexpr uint32_t EMPTY_DIRECTORY = SIZE - 64;
    const size_t raw = tables.get(section + 20, 4);
    const uint32_t address = tables.get(section + 12, 4);
    bytes.resize(raw + SIZE);
    std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(raw), bytes.end(), uint8_t{0});
    put(bytes, section + 8, 4, SIZE);
    put(bytes, section + 16, 4, SIZE);
    put(bytes, tables.pe() + 24 + 56, 4, address + SIZE);
    put(bytes, tables.resource_address_field(), 4, address);
    const auto directory = [&](size_t at, uint32_t below) {
        put(bytes, at + 14, 2, 0xFFFF);
        for (uint32_t i = 0; i < 0xFFFF; ++i) {
            put(bytes, at + 16 + 8 * i, 4, 3);
            put(bytes, at + 20 + 8 * i, 4, 0x80000000 | below);
        }
    };
    directory(raw, 0x100000);
    directory(raw + 0x100000, EMPTY_DIRECTORY);
    made_.write(bytes);
    char text[33] = {};
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(calc_icon_hash(path_.c_str(), text), 4);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST_F(HostilePe, version_data_of_many_megabytes_in_a_thousand_languages_is_not_read_whole) {
    // A thousand languages share one resource that begins with a block and fills a large section.
    const std::vector<uint8_t> sound = bytes_of("plain.exe");
    const PeTables plain(sound);
    std::vector<uint8_t> bytes = bytes_of("icon_same.exe");
    const PeTables tables(bytes);
    const size_t section = tables.pe() + 24 + tables.get(tables.pe() + 20, 2) +
                           40 * (tables.get(tables.pe() + 6, 2) - 1);
    constexpr uint32_t SIZE = 64U << 20;
    constexpr uint32_t LANGUAGES = 1000;
    constexpr uint32_t DATA_ENTRY = 0x2FF0;
    constexpr uint32_t DATA = 0x3000;
    const size_t raw = tables.get(section + 20, 4);
    const uint32_t address = tables.get(section + 12, 4);
    bytes.resize(raw);
    bytes.resize(raw + DATA);
    put(bytes, section + 8, 4, SIZE);
    put(bytes, section + 16, 4, SIZE);
    put(bytes, tables.pe() + 24 + 56, 4, address + SIZE);
    put(bytes, tables.resource_address_field(), 4, address);
    put(bytes, raw + 14, 2, 1);
    put(bytes, raw + 16, 4, 16);
    put(bytes, raw + 20, 4, 0x80000020);
    put(bytes, raw + 0x20 + 14, 2, 1);
    put(bytes, raw + 0x20 + 16, 4, 1);
    put(bytes, raw + 0x20 + 20, 4, 0x80000040);
    put(bytes, raw + 0x40 + 14, 2, LANGUAGES);
    for (uint32_t i = 0; i < LANGUAGES; ++i) {
        put(bytes, raw + 0x50 + 8 * i, 4, 0x400 + i);
        put(bytes, raw + 0x54 + 8 * i, 4, DATA_ENTRY);
    }
    put(bytes, raw + DATA_ENTRY, 4, address + DATA);
    put(bytes, raw + DATA_ENTRY + 4, 4, SIZE - DATA);
    const auto block = sound.begin() + static_cast<std::ptrdiff_t>(plain.data(16));
    bytes.insert(bytes.end(), block, block + plain.get(plain.data(16), 2));
    made_.write(bytes);
    std::filesystem::resize_file(made_.native(), raw + SIZE);
    AppInfo info;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(read_app_info(path_.c_str(), false, info));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    EXPECT_EQ(fakehost::narrow(wide_string(until_nul(info.productname))), "Fixture Product");
}

}  // namespace
}  // namespace kolvessa
