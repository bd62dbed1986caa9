// Trust where the system's own verification has no part: time stamps and the system's store.

#include <gtest/gtest.h>

#include "tests/standalone/sigcheck/signed_files.h"

namespace orvu::sigcheck::tests {
namespace {

TEST(TimeStamps, an_expired_certificate_counts_at_the_time_of_a_stamp_that_the_roots_vouch_for) {
    ASSERT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_FILE, fixture("root.pem").c_str()), 0);
    EXPECT_EQ(query(fixture("expired_stamp.exe")).trusted, 1);
    EXPECT_EQ(query(fixture("expired_stamp.exe")).state, SIGCHECK_OK);
}

TEST(TimeStamps, a_stamp_of_an_unknown_authority_proves_nothing) {
    ASSERT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_FILE, fixture("root.pem").c_str()), 0);
    EXPECT_EQ(query(fixture("expired_other_stamp.exe")).trusted, 0);
    ASSERT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_FILE, fixture("both_roots.pem").c_str()), 0);
    EXPECT_EQ(query(fixture("expired_other_stamp.exe")).trusted, 1);
}

TEST(SystemStore, does_not_vouch_for_a_certificate_made_on_the_spot) {
    ASSERT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_SYSTEM, nullptr), 0);
    const sigcheck_facts facts = query(fixture("cn.exe"));
    EXPECT_EQ(facts.state, SIGCHECK_NOT_TRUSTED);
    EXPECT_EQ(facts.intact, 1);
    EXPECT_EQ(signer(facts), "Example Signer Ltd");
}

}  // namespace
}  // namespace orvu::sigcheck::tests
