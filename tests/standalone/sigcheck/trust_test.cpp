// Who signed and who is trusted are two facts: the policy changes the second, never the first.

#include <gtest/gtest.h>

#include "sigcheck.h"
#include "tests/standalone/sigcheck/signed_files.h"

namespace orvu::sigcheck::tests {
namespace {

class TrustedRoots : public testing::Test {
  protected:
    static void trust(const char* roots) {
        ASSERT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_FILE, fixture(roots).c_str()), 0) << roots;
    }
    static void expect(const char* name, bool trusted) {
        const sigcheck_facts facts = query(fixture(name));
        EXPECT_EQ(facts.intact, 1) << name;
        EXPECT_EQ(facts.trusted, trusted ? 1 : 0) << name;
        EXPECT_NE(facts.name[0], 0) << name;
        EXPECT_EQ(facts.state, trusted ? SIGCHECK_OK : SIGCHECK_NOT_TRUSTED) << name;
        orvu_wchar buffer[200] = {'x'};
        EXPECT_EQ(qiv_get_file_sign_w(framework(fixture(name)).c_str(), buffer, 200), facts.state);
        EXPECT_EQ(buffer[0] != 0, trusted) << name;
    }
    void TearDown() override { sigcheck_set_trust(SIGCHECK_TRUST_NONE, nullptr); }
};

TEST_F(TrustedRoots, a_chain_to_the_given_root_is_trusted) {
    trust("root.pem");
    expect("cn.exe", true);
    expect("cn32.exe", true);
    expect("chain.exe", true);
    expect("ec.exe", true);
    expect("two_entries.exe", true);
}

TEST_F(TrustedRoots, a_chain_to_another_root_is_not) {
    trust("other_root.pem");
    expect("cn.exe", false);
    expect("chain.exe", false);
    expect("alone.exe", false);
}

TEST_F(TrustedRoots, a_chain_with_a_gap_is_not) {
    trust("root.pem");
    expect("chain_gap.exe", false);
}

TEST_F(TrustedRoots, a_signer_of_its_own_is_trusted_when_it_is_a_root_itself) {
    trust("root.pem");
    expect("alone.exe", false);
    trust("alone.pem");
    expect("alone.exe", true);
    expect("cn.exe", false);
}

TEST_F(TrustedRoots, a_file_may_hold_several) {
    trust("both_roots.pem");
    expect("cn.exe", true);
    expect("alone.exe", false);
}

TEST_F(TrustedRoots, a_certificate_for_another_use_is_not_trusted_and_one_for_any_use_is) {
    trust("root.pem");
    expect("web.exe", false);
    expect("any_use.exe", true);
}

TEST_F(TrustedRoots, an_expired_certificate_is_not_trusted) {
    trust("root.pem");
    expect("expired.exe", false);
}

TEST_F(TrustedRoots, a_broken_signature_is_broken_whoever_is_trusted) {
    trust("root.pem");
    const sigcheck_facts facts = query(fixture("flipped_code.exe"));
    EXPECT_EQ(facts.state, SIGCHECK_BROKEN);
    EXPECT_EQ(facts.intact, 0);
    EXPECT_EQ(facts.trusted, -1);
    EXPECT_EQ(facts.name[0], 0);
}

TEST_F(TrustedRoots, a_policy_that_cannot_be_had_leaves_the_old_one) {
    trust("root.pem");
    EXPECT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_FILE, fixture("missing.pem").c_str()),
              SIGCHECK_NOT_OPENED);
    EXPECT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_FILE, fixture("no_roots.pem").c_str()),
              SIGCHECK_NOT_OPENED);
    EXPECT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_FILE, fixture("cn.exe").c_str()),
              SIGCHECK_NOT_OPENED);
    EXPECT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_FILE, nullptr), SIGCHECK_BAD_ARGUMENT);
    EXPECT_EQ(sigcheck_set_trust(3, nullptr), SIGCHECK_BAD_ARGUMENT);
    EXPECT_EQ(sigcheck_set_trust(-1, nullptr), SIGCHECK_BAD_ARGUMENT);
    expect("cn.exe", true);
    expect("alone.exe", false);
}

TEST_F(TrustedRoots, without_a_policy_nobody_is_asked) {
    ASSERT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_NONE, nullptr), 0);
    const sigcheck_facts facts = query(fixture("expired.exe"));
    EXPECT_EQ(facts.state, SIGCHECK_OK);
    EXPECT_EQ(facts.trusted, -1);
}

}  // namespace
}  // namespace orvu::sigcheck::tests
