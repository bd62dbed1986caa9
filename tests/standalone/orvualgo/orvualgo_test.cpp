// The checksums give the published values, for nothing and for everything, from several threads.

#include "orvualgo.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

std::string md5(const std::string& data) {
    uint8_t digest[16];
    EXPECT_EQ(orvu_md5_calc(data.data(), static_cast<uint32_t>(data.size()), digest), 0);
    char text[33];
    orvu_md5_bin2str(digest, text);
    return text;
}

// Bit by bit from the polynomial.
uint32_t plain_crc32(const std::string& data) {
    uint32_t crc = 0xFFFFFFFF;
    for (const char byte : data) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1U) ^ ((crc & 1U) != 0 ? 0xEDB88320U : 0U);
        }
    }
    return ~crc;
}

TEST(Md5, the_digests_of_rfc_1321) {
    EXPECT_EQ(md5(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(md5("a"), "0cc175b9c0f1b6a831c399e269772661");
    EXPECT_EQ(md5("abc"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(md5("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_EQ(md5("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
    EXPECT_EQ(md5("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
              "d174ab98d277d9f5a5611c2c9f419d9f");
    std::string digits;
    for (int i = 0; i < 8; ++i) {
        digits += "1234567890";
    }
    EXPECT_EQ(md5(digits), "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(Md5, a_million_letters) {
    EXPECT_EQ(md5(std::string(1000000, 'a')), "7707d6ae4e027c70eea2a935c2296f21");
}

TEST(Md5, no_data_with_length_0_is_the_digest_of_nothing) {
    uint8_t digest[16];
    EXPECT_EQ(orvu_md5_calc(nullptr, 0, digest), 0);
    char text[33];
    orvu_md5_bin2str(digest, text);
    EXPECT_STREQ(text, "d41d8cd98f00b204e9800998ecf8427e");
}

TEST(Md5, null_arguments_are_reported) {
    uint8_t digest[16];
    EXPECT_EQ(orvu_md5_calc(nullptr, 1, digest), 1);
    EXPECT_EQ(orvu_md5_calc("a", 1, nullptr), 1);
}

TEST(Md5, the_text_is_32_lower_case_digits_and_a_nul_and_nothing_behind_it) {
    const uint8_t digest[16] = {0x00, 0x01, 0x0A, 0x10, 0xA0, 0xFF, 0xAB, 0xCD,
                                0xEF, 0x9F, 0xF9, 0x7F, 0x80, 0x55, 0xC0, 0x0C};
    char text[36];
    std::memset(text, '#', sizeof text);
    orvu_md5_bin2str(digest, text);
    EXPECT_STREQ(text, "00010a10a0ffabcdef9ff97f8055c00c");
    EXPECT_EQ(std::string(text + 33, 3), "###");
    orvu_md5_bin2str(nullptr, text);
    EXPECT_STREQ(text, "");
    orvu_md5_bin2str(digest, nullptr);
}

TEST(Md5, several_threads_get_the_same_digest) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int n = 0; n < 500; ++n) {
                EXPECT_EQ(md5("abc"), "900150983cd24fb0d6963f7d28e17f72");
                EXPECT_EQ(orvu_crc32_calc("123456789", 9), 0xCBF43926U);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(Crc32, the_check_value_of_the_polynomial) {
    EXPECT_EQ(orvu_crc32_calc("123456789", 9), 0xCBF43926U);
}

TEST(Crc32, every_length_agrees_with_the_bitwise_definition) {
    std::string data;
    for (int i = 0; i < 600; ++i) {
        EXPECT_EQ(orvu_crc32_calc(data.data(), static_cast<uint32_t>(data.size())),
                  plain_crc32(data))
            << i;
        data.push_back(static_cast<char>(i * 37 + i / 7));
    }
}

TEST(Crc32, no_data_is_0) {
    EXPECT_EQ(orvu_crc32_calc(nullptr, 0), 0U);
    EXPECT_EQ(orvu_crc32_calc(nullptr, 5), 0U);
    EXPECT_EQ(orvu_crc32_calc("x", 0), 0U);
}

}  // namespace
