// A set of appids, 0 and the largest included.

#include "plugins/kolvessa/app_rule/appid_set.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace kolvessa {
namespace {

TEST(AppidSet, an_appid_is_new_once) {
    AppidSet set;
    for (const uint32_t appid : {0U, 1U, UINT32_MAX}) {
        EXPECT_FALSE(set.contains(appid));
        EXPECT_TRUE(set.insert(appid));
        EXPECT_TRUE(set.contains(appid));
        EXPECT_FALSE(set.insert(appid));
    }
}

TEST(AppidSet, many_appids_agree_with_an_ordered_set) {
    AppidSet set;
    std::set<uint32_t> expected;
    std::mt19937 random(3);
    for (int i = 0; i < 50000; ++i) {
        const auto appid = static_cast<uint32_t>(random() % 40000) * (i % 2 == 0 ? 1U : 65536U);
        EXPECT_EQ(set.insert(appid), expected.insert(appid).second);
        const auto other = static_cast<uint32_t>(random());
        EXPECT_EQ(set.contains(other), expected.contains(other));
    }
}

}  // namespace
}  // namespace kolvessa
