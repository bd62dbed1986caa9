// The two calls that name a signer, on files whose answers are known beforehand.

#include "sigcheck.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>

#include "default_trust.h"
#include "tests/standalone/sigcheck/signed_files.h"

namespace orvu::sigcheck::tests {
namespace {

class SignerOfFile : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_NONE, nullptr), 0); }
};

TEST_F(SignerOfFile, every_fixture_gets_the_stated_answer) {
    for (const signed_file& file : signed_files()) {
        const sigcheck_facts facts = query(fixture(file.name));
        EXPECT_EQ(facts.state, file.state) << file.name;
        EXPECT_EQ(signer(facts), file.signer) << file.name;
        const bool intact = file.state == SIGCHECK_OK || file.state == SIGCHECK_NO_NAME;
        EXPECT_EQ(facts.intact, intact ? 1 : 0) << file.name;
        EXPECT_EQ(facts.trusted, -1) << file.name;

        std::array<orvu_wchar, 200> buffer;
        buffer.fill('x');
        EXPECT_EQ(qiv_get_file_sign_w(framework(fixture(file.name)).c_str(), buffer.data(), 200),
                  file.state)
            << file.name;
        EXPECT_EQ(*wide_to_utf8(buffer.data()), file.signer) << file.name;
    }
}

TEST_F(SignerOfFile, what_is_no_readable_file_has_no_signer) {
    const OwnFolder folder;
    EXPECT_EQ(query(folder.path("missing.exe")).state, SIGCHECK_NOT_OPENED);
    EXPECT_EQ(query(folder.path("")).state, SIGCHECK_NOT_OPENED);
    EXPECT_EQ(query(folder.path("missing/below.exe")).state, SIGCHECK_NOT_OPENED);
}

TEST_F(SignerOfFile, bad_arguments_are_refused) {
    const WString path = framework(fixture("cn.exe"));
    orvu_wchar unit = 'x';
    EXPECT_EQ(qiv_get_file_sign_w(nullptr, &unit, 1), SIGCHECK_BAD_ARGUMENT);
    EXPECT_EQ(unit, 0);
    EXPECT_EQ(qiv_get_file_sign_w(path.c_str(), nullptr, 200), SIGCHECK_BAD_ARGUMENT);
    unit = 'x';
    EXPECT_EQ(qiv_get_file_sign_w(path.c_str(), &unit, 0), SIGCHECK_BAD_ARGUMENT);
    EXPECT_EQ(unit, 'x');
    const orvu_wchar empty = 0;
    EXPECT_EQ(qiv_get_file_sign_w(&empty, &unit, 1), SIGCHECK_BAD_ARGUMENT);
    EXPECT_EQ(sigcheck_query(path.c_str(), nullptr), SIGCHECK_BAD_ARGUMENT);
    sigcheck_get_counters(nullptr);
}

TEST_F(SignerOfFile, a_path_is_found_without_regard_to_case) {
    WString path = framework(fixture("cn.exe"));
    const size_t name = path.size() - 6;
    path.replace(name, 6, ORVU_TEXT("CN.Exe"));
    std::array<orvu_wchar, 200> buffer;
    EXPECT_EQ(qiv_get_file_sign_w(path.c_str(), buffer.data(), 200), 0);
    EXPECT_EQ(*wide_to_utf8(buffer.data()), "Example Signer Ltd");
}

TEST_F(SignerOfFile, a_name_is_cut_to_the_buffer_and_never_inside_a_pair) {
    const WString path = framework(fixture("utf8.exe"));
    const WString whole = *utf8_to_wide("Übungsfirma Zürich 株式会社 𝔘𝔫𝔦");
    for (uint32_t capacity = 1; capacity <= whole.size() + 2; capacity++) {
        std::vector<orvu_wchar> buffer(capacity + 1, 'x');
        ASSERT_EQ(qiv_get_file_sign_w(path.c_str(), buffer.data(), capacity), 0);
        WString expected = whole.substr(0, capacity - 1);
        if (!wide_to_utf8(expected))
            expected.pop_back();
        EXPECT_EQ(WString(buffer.data()), expected) << capacity;
        EXPECT_EQ(buffer.back(), 'x') << "written behind the buffer of " << capacity;
    }
}

TEST(DefaultPolicy, asks_the_system_on_windows_and_nobody_elsewhere) {
    const bool windows = sizeof(wchar_t) == 2;
    EXPECT_EQ(default_trust, windows ? SIGCHECK_TRUST_SYSTEM : SIGCHECK_TRUST_NONE);
}

}  // namespace
}  // namespace orvu::sigcheck::tests
