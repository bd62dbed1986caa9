// The reader of DER elements takes only what is well formed and inside its surroundings.

#include "standalone/sigcheck/der.h"

#include <gtest/gtest.h>

#include <vector>

namespace orvu::sigcheck::tests {
namespace {

bool reads(const std::vector<uint8_t>& data) {
    der_value value;
    return DerReader(data).next(value);
}

TEST(DerReader, gives_elements_one_after_the_other) {
    const std::vector<uint8_t> data = {0x02, 0x01, 0x05, 0x04, 0x02, 0xAA, 0xBB};
    DerReader reader(data);
    der_value value;
    ASSERT_TRUE(reader.next(value));
    EXPECT_EQ(value.tag, DER_INTEGER);
    EXPECT_EQ(value.whole.size(), 3U);
    EXPECT_TRUE(same(value.content, std::vector<uint8_t>{0x05}));
    ASSERT_FALSE(reader.next(DER_SEQUENCE, value));
    ASSERT_TRUE(reader.next(DER_OCTET_STRING, value));
    EXPECT_TRUE(same(value.content, std::vector<uint8_t>{0xAA, 0xBB}));
    EXPECT_TRUE(reader.at_end());
    EXPECT_FALSE(reader.next(value));
}

TEST(DerReader, takes_long_lengths_in_their_shortest_form_only) {
    std::vector<uint8_t> data(3 + 200, 0);
    data[0] = 0x04;
    data[1] = 0x81;
    data[2] = 200;
    EXPECT_TRUE(reads(data));
    EXPECT_FALSE(reads({0x04, 0x81, 0x01, 0xAA}));
    EXPECT_FALSE(reads({0x04, 0x82, 0x00, 0x01, 0xAA}));
    std::vector<uint8_t> padded(4 + 200, 0);
    padded[0] = 0x04;
    padded[1] = 0x82;
    padded[3] = 200;
    EXPECT_FALSE(reads(padded));
}

TEST(DerReader, refuses_what_reaches_out_of_its_surroundings) {
    EXPECT_FALSE(reads({}));
    EXPECT_FALSE(reads({0x30}));
    EXPECT_FALSE(reads({0x30, 0x01}));
    EXPECT_FALSE(reads({0x30, 0x81}));
    EXPECT_FALSE(reads({0x30, 0x84, 0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_FALSE(reads({0x30, 0x84, 0x7F, 0xFF, 0xFF, 0xFF, 0x00}));
}

TEST(DerReader, refuses_indefinite_and_overlong_lengths_and_long_tags) {
    EXPECT_FALSE(reads({0x30, 0x80, 0x00, 0x00}));
    EXPECT_FALSE(reads({0x30, 0x85, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00}));
    EXPECT_FALSE(reads({0x30, 0xFF, 0x01}));
    EXPECT_FALSE(reads({0x1F, 0x01, 0x00}));
    EXPECT_FALSE(reads({0xBF, 0x01, 0x00}));
}

}  // namespace
}  // namespace orvu::sigcheck::tests
