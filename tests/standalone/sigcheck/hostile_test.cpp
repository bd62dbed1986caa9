// Whatever a signed file's lengths, counts and offsets claim, the answer comes without a crash, a
// hang or a read outside, and none but the one who signed is named with the roots' word.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <set>

#include "standalone/sigcheck/der.h"
#include "standalone/sigcheck/examine.h"
#include "tests/standalone/sigcheck/signed_files.h"

namespace orvu::sigcheck::tests {
namespace {

uint64_t load(const std::vector<uint8_t>& data, size_t at, size_t width) {
    uint64_t value = 0;
    for (size_t i = 0; i < width; i++)
        value |= uint64_t{data.at(at + i)} << (8 * i);
    return value;
}

void store(std::vector<uint8_t>& data, size_t at, size_t width, uint64_t value) {
    for (size_t i = 0; i < width; i++)
        data.at(at + i) = static_cast<uint8_t>(value >> (8 * i));
}

struct field {
    size_t at;
    size_t width;
};

std::vector<field> header_fields(const std::vector<uint8_t>& data) {
    const size_t header = load(data, 60, 4);
    const size_t optional = header + 24;
    const size_t directories = optional + (load(data, optional, 2) == 0x20B ? 112 : 96);
    const size_t sections = optional + load(data, header + 20, 2);
    const size_t table = load(data, directories + 32, 4);
    return {{60, 4},                // where the headers are
            {header, 4},            // signature
            {header + 4, 2},        // machine
            {header + 6, 2},        // number of sections
            {header + 20, 2},       // size of the optional header
            {optional, 2},          // PE32 or PE32+
            {optional + 60, 4},     // size of the headers
            {directories - 4, 4},   // number of directories
            {directories + 32, 4},  // the certificate table
            {directories + 36, 4},  // its size
            {sections + 16, 4},     // size of a section's content
            {sections + 20, 4},     // its place
            {table, 4},             // length of the entry
            {table + 4, 2},         // its revision
            {table + 6, 2}};        // its type
}

// A file in memory, of exactly its bytes: a sanitizer sees each read outside.
class MemoryFile : public ReadableFile {
  public:
    explicit MemoryFile(const std::vector<uint8_t>& data)
        : size_(data.size()), data_(new uint8_t[data.size()]) {
        std::copy(data.begin(), data.end(), data_.get());
    }
    bool read(uint64_t offset, void* out, size_t size) const override {
        EXPECT_LE(size, 32U << 20) << "a buffer of unreasonable size";
        if (offset > size_ || size > size_ - offset)
            return false;
        std::copy_n(data_.get() + offset, size, static_cast<uint8_t*>(out));
        return true;
    }

  private:
    size_t size_;
    std::unique_ptr<uint8_t[]> data_;
};

class HostileFile : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        good_ = read_bytes(fixture(GetParam()));
        roots_ = TrustRoots::load(fixture("root.pem").c_str());
        ASSERT_NE(roots_, nullptr);
    }

    [[nodiscard]] verdict look(const std::vector<uint8_t>& data) const {
        return examine(MemoryFile(data), data.size(), roots_.get(), nullptr);
    }

    // What a check may say of a changed file: no signer, one whom nobody vouches for (a certificate
    // may call itself anything), or the one who signed.
    void expect_harmless(const std::vector<uint8_t>& data, const std::string& what) const {
        const verdict found = look(data);
        if (found.state == SIGCHECK_OK) {
            EXPECT_EQ(found.trusted, 1) << what;
            EXPECT_EQ(*wide_to_utf8(found.name), "Example Signer Ltd") << what;
        } else if (found.intact) {
            EXPECT_EQ(found.trusted, 0) << what;
        } else {
            EXPECT_TRUE(found.name.empty()) << what;
        }
    }

    std::shared_ptr<const TrustRoots> roots_;
    std::vector<uint8_t> good_;
};

TEST_P(HostileFile, is_fine_as_it_was) {
    EXPECT_EQ(look(good_).state, SIGCHECK_OK);
}

TEST_P(HostileFile, each_length_count_and_offset_of_the_headers_may_lie) {
    for (const field& place : header_fields(good_)) {
        const uint64_t value = load(good_, place.at, place.width);
        const uint64_t most = place.width == 2 ? 0xFFFF : 0xFFFFFFFF;
        const std::set<uint64_t> lies = {0,
                                         1,
                                         2,
                                         value + 1,
                                         value - 1,
                                         value + 8,
                                         value - 8,
                                         value * 2,
                                         good_.size(),
                                         good_.size() - 1,
                                         good_.size() - 8,
                                         good_.size() + 1,
                                         most,
                                         most - 1,
                                         most / 2,
                                         most / 2 + 1,
                                         most - value,
                                         most - value + 1};
        for (const uint64_t lie : lies) {
            std::vector<uint8_t> data = good_;
            store(data, place.at, place.width, lie);
            expect_harmless(
                data, "field at " + std::to_string(place.at) + " set to " + std::to_string(lie));
        }
    }
}

// The offsets of all tags in an encoding, those inside octet strings and the like left aside.
void tags_of(bytes data, const uint8_t* base, std::vector<size_t>& out) {
    DerReader reader(data);
    der_value value;
    while (reader.next(value)) {
        out.push_back(static_cast<size_t>(value.whole.data() - base));
        if ((value.tag & 0x20) != 0)
            tags_of(value.content, base, out);
    }
}

TEST_P(HostileFile, each_tag_and_length_of_the_signature_may_lie) {
    const size_t header = load(good_, 60, 4) + 24;
    const size_t entry = header + (load(good_, header, 2) == 0x20B ? 144 : 128);
    const size_t table = load(good_, entry, 4);
    std::vector<size_t> tags;
    tags_of(bytes(good_).subspan(table + 8), good_.data(), tags);
    ASSERT_GT(tags.size(), 60U);
    for (const size_t tag : tags) {
        const size_t digits = good_[tag + 1] >= 0x80 ? good_[tag + 1] & 0x7F : 0;
        for (size_t at = tag; at <= tag + 1 + digits; at++) {
            const uint8_t value = good_[at];
            for (const int lie : {0x00, 0x01, value - 1, value + 1, 0x1F, 0x7F, 0x80, 0x82, 0x84,
                                  0x88, 0xFE, 0xFF}) {
                std::vector<uint8_t> data = good_;
                data[at] = static_cast<uint8_t>(lie);
                expect_harmless(data,
                                "byte at " + std::to_string(at) + " set to " + std::to_string(lie));
            }
        }
    }
}

TEST_P(HostileFile, it_may_end_anywhere) {
    for (size_t size = 0; size < good_.size(); size++) {
        const std::vector<uint8_t> data(good_.begin(),
                                        good_.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_NE(look(data).state, SIGCHECK_OK) << size;
    }
}

TEST_P(HostileFile, random_bytes_of_the_signature_may_change) {
    std::mt19937 random(20240607);  // a fixed seed: a failure can be repeated
    const size_t table = 0x400;
    for (int round = 0; round < 3000; round++) {
        std::vector<uint8_t> data = good_;
        const size_t changes = 1 + random() % 4;
        for (size_t i = 0; i < changes; i++)
            data[table + random() % (data.size() - table)] = static_cast<uint8_t>(random());
        expect_harmless(data, "round " + std::to_string(round));
    }
}

TEST_P(HostileFile, every_byte_that_the_digest_covers_counts) {
    const size_t checksum = load(good_, 60, 4) + 24 + 64;
    const size_t header = load(good_, 60, 4) + 24;
    const size_t entry = header + (load(good_, header, 2) == 0x20B ? 144 : 128);
    const size_t table = load(good_, entry, 4);
    for (size_t at = 0; at < table; at++) {
        if ((at >= checksum && at < checksum + 4) || (at >= entry && at < entry + 8))
            continue;
        std::vector<uint8_t> data = good_;
        data[at] ^= 0x10;
        EXPECT_NE(look(data).state, SIGCHECK_OK) << at;
    }
}

TEST_P(HostileFile, a_deep_nesting_in_the_signature_is_only_malformed) {
    // A million sequences, one in the other; the outermost lengths are right.
    const size_t header = load(good_, 60, 4) + 24;
    const size_t entry = header + (load(good_, header, 2) == 0x20B ? 144 : 128);
    const size_t table = load(good_, entry, 4);
    constexpr size_t depth = 200'000;
    std::vector<uint8_t> data(good_.begin(), good_.begin() + static_cast<std::ptrdiff_t>(table));
    data.resize(table + 8);
    size_t inside = depth * 5;
    for (size_t i = 0; i < depth; i++) {
        inside -= 5;
        for (const size_t byte : {size_t{0x30}, size_t{0x83}, inside >> 16, inside >> 8, inside})
            data.push_back(static_cast<uint8_t>(byte));
    }
    store(data, entry + 4, 4, data.size() - table);
    store(data, table, 4, data.size() - table);
    store(data, table + 4, 4, 0x00020200);
    EXPECT_EQ(look(data).state, SIGCHECK_MALFORMED);
}

TEST_P(HostileFile, a_table_of_very_many_entries_is_given_up) {
    const size_t header = load(good_, 60, 4) + 24;
    const size_t entry = header + (load(good_, header, 2) == 0x20B ? 144 : 128);
    const size_t table = load(good_, entry, 4);
    for (const size_t before : {size_t{255}, size_t{256}, size_t{1} << 20}) {
        // Small entries of another kind in front of the signature.
        std::vector<uint8_t> data = good_;
        data.insert(data.begin() + static_cast<std::ptrdiff_t>(table), before * 16, uint8_t{0});
        for (size_t i = 0; i < before; i++) {
            store(data, table + i * 16, 4, 16);
            store(data, table + i * 16 + 4, 4, 0x00010200);
        }
        store(data, entry + 4, 4, data.size() - table);
        EXPECT_EQ(look(data).state, before == 255 ? SIGCHECK_OK : SIGCHECK_NOT_SIGNED) << before;
    }
}

TEST(HugeFile, beyond_4_gib_is_not_read_at_all) {
    class : public ReadableFile {
        bool read(uint64_t, void*, size_t) const override {
            ADD_FAILURE() << "read";
            return false;
        }
    } const file;
    EXPECT_EQ(examine(file, (uint64_t{4} << 30) + 1, nullptr, nullptr).state, SIGCHECK_NOT_PE);
}

TEST_P(HostileFile, one_that_ends_while_it_is_read_counts_as_one_that_cannot_be_read) {
    for (size_t size = 0; size < good_.size(); size += 7) {
        const std::vector<uint8_t> data(good_.begin(),
                                        good_.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(examine(MemoryFile(data), good_.size(), nullptr, nullptr).state,
                  SIGCHECK_NOT_OPENED)
            << size;
    }
}

TEST_P(HostileFile, the_call_itself_survives_it_too) {
    ASSERT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_FILE, fixture("root.pem").c_str()), 0);
    const OwnFolder folder;
    int files = 0;
    for (size_t at = 60; at < good_.size(); at += 131) {
        std::vector<uint8_t> data = good_;
        data[at] ^= 0xFF;
        const std::string path = folder.path(std::to_string(files++));
        write_bytes(path, data);
        const sigcheck_facts facts = query(path);
        EXPECT_TRUE(facts.state != SIGCHECK_OK || signer(facts) == "Example Signer Ltd") << at;
    }
    EXPECT_GT(files, 15);
}

INSTANTIATE_TEST_SUITE_P(OfBothKinds, HostileFile, testing::Values("cn.exe", "cn32.exe"),
                         [](const auto& info) {
                             return std::string(info.index == 0 ? "pe32plus" : "pe32");
                         });

}  // namespace
}  // namespace orvu::sigcheck::tests
