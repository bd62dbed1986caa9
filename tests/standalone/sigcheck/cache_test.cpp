// Answers are kept by what the file is, not by its name: a file that is read once is not read
// again, and one that changed is.

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "sigcheck.h"
#include "tests/standalone/sigcheck/signed_files.h"

namespace orvu::sigcheck::tests {
namespace {

sigcheck_counters counters() {
    sigcheck_counters now;
    sigcheck_get_counters(&now);
    return now;
}

class KeptAnswers : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_NONE, nullptr), 0);
        sigcheck_set_cache_limit(4096);
    }
    OwnFolder folder_;
};

TEST_F(KeptAnswers, a_second_question_reads_nothing) {
    const std::string path = folder_.path("program.exe");
    write_bytes(path, read_bytes(fixture("cn.exe")));
    let_times_settle();
    EXPECT_EQ(signer(query(path)), "Example Signer Ltd");
    EXPECT_EQ(signer(query(path)), "Example Signer Ltd");
    EXPECT_EQ(counters().misses, 1U);
    EXPECT_EQ(counters().hits, 1U);
    EXPECT_EQ(counters().entries, 1U);
}

TEST_F(KeptAnswers, that_a_file_has_no_signer_is_kept_too) {
    const std::string path = folder_.path("program.exe");
    write_bytes(path, read_bytes(fixture("unsigned64.exe")));
    let_times_settle();
    EXPECT_EQ(query(path).state, SIGCHECK_NOT_SIGNED);
    EXPECT_EQ(query(path).state, SIGCHECK_NOT_SIGNED);
    EXPECT_EQ(counters().hits, 1U);
}

TEST_F(KeptAnswers, a_replaced_file_is_read_again) {
    const std::string path = folder_.path("program.exe");
    write_bytes(path, read_bytes(fixture("cn.exe")));
    write_bytes(folder_.path("next"), read_bytes(fixture("ou.exe")));
    let_times_settle();
    EXPECT_EQ(signer(query(path)), "Example Signer Ltd");
    std::filesystem::rename(folder_.path("next"), path);
    EXPECT_EQ(signer(query(path)), "Build Desk");
}

TEST_F(KeptAnswers, a_file_overwritten_in_place_is_read_again) {
    const std::string path = folder_.path("program.exe");
    const std::vector<uint8_t> good = read_bytes(fixture("cn.exe"));
    std::vector<uint8_t> bad = good;
    bad[0x210] ^= 1;
    write_bytes(path, good);
    let_times_settle();
    EXPECT_EQ(query(path).state, SIGCHECK_OK);
    std::fstream(path, std::ios::in | std::ios::out | std::ios::binary)
        .write(reinterpret_cast<const char*>(bad.data()), static_cast<std::streamsize>(bad.size()));
    EXPECT_EQ(query(path).state, SIGCHECK_BROKEN);
}

TEST_F(KeptAnswers, a_file_overwritten_in_place_with_its_old_time_of_modification_is_read_again) {
    const std::string path = folder_.path("program.exe");
    write_bytes(path, read_bytes(fixture("cn.exe")));
    const auto time = std::filesystem::last_write_time(path);
    let_times_settle();
    EXPECT_EQ(query(path).state, SIGCHECK_OK);
    std::vector<uint8_t> bad = read_bytes(path);
    bad[0x210] ^= 1;
    write_bytes(path, bad);
    std::filesystem::last_write_time(path, time);
    EXPECT_EQ(query(path).state, SIGCHECK_BROKEN);
}

TEST_F(KeptAnswers, writes_within_one_tick_of_the_clock_are_all_seen) {
    const std::string path = folder_.path("program.exe");
    const std::vector<uint8_t> good = read_bytes(fixture("cn.exe"));
    std::vector<uint8_t> bad = good;
    bad[0x210] ^= 1;
    for (int round = 0; round < 100; round++) {
        write_bytes(path, round % 2 == 0 ? good : bad);
        ASSERT_EQ(query(path).state, round % 2 == 0 ? SIGCHECK_OK : SIGCHECK_BROKEN) << round;
    }
}

TEST_F(KeptAnswers, the_number_kept_has_a_bound_and_the_least_used_go_first) {
    sigcheck_set_cache_limit(2);
    const std::vector<uint8_t> bytes = read_bytes(fixture("cn.exe"));
    for (const char* name : {"a", "b", "c"})
        write_bytes(folder_.path(name), bytes);
    let_times_settle();
    query(folder_.path("a"));
    query(folder_.path("b"));
    query(folder_.path("a"));
    query(folder_.path("c"));
    EXPECT_EQ(counters().entries, 2U);
    EXPECT_EQ(counters().evicted, 1U);
    const uint64_t hits = counters().hits;
    query(folder_.path("a"));
    EXPECT_EQ(counters().hits, hits + 1);
    query(folder_.path("b"));
    EXPECT_EQ(counters().hits, hits + 1);
    sigcheck_set_cache_limit(0);
    EXPECT_EQ(counters().entries, 0U);
    EXPECT_EQ(query(folder_.path("a")).state, SIGCHECK_OK);
    EXPECT_EQ(counters().entries, 0U);
}

TEST_F(KeptAnswers, a_new_policy_forgets_them_and_keeps_the_bound) {
    const std::string path = folder_.path("program.exe");
    write_bytes(path, read_bytes(fixture("cn.exe")));
    let_times_settle();
    sigcheck_set_cache_limit(0);
    ASSERT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_NONE, nullptr), 0);
    query(path);
    query(path);
    EXPECT_EQ(counters().hits, 0U);
    EXPECT_EQ(counters().misses, 2U);
}

}  // namespace
}  // namespace orvu::sigcheck::tests
