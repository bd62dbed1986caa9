// Every code has a word and a text of its own.
#include "standalone/orvu_core/codes.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace orvu {
namespace {

TEST(Codes, every_code_has_a_text_of_its_own) {
    std::set<std::string> texts;
    for (int32_t code = ORVU_HOST_OK; code <= ORVU_HOST_LIMIT; ++code) {
        EXPECT_TRUE(texts.insert(orvu_host_code_text(code)).second) << code;
    }
    EXPECT_EQ(orvu_host_code_text(-1), std::string(orvu_host_code_text(ORVU_HOST_LIMIT + 1)));
    EXPECT_FALSE(texts.contains(orvu_host_code_text(-1)));
}

}  // namespace
}  // namespace orvu
