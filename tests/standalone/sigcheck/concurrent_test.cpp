// Many threads may ask at once, for the same file and for others, while the policy and the bound of
// the kept answers change.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "sigcheck.h"
#include "standalone/sigcheck/verdict_cache.h"
#include "tests/standalone/sigcheck/signed_files.h"

namespace orvu::sigcheck::tests {
namespace {

void on_threads(int count, const std::function<void(int)>& work) {
    std::vector<std::thread> threads;
    threads.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; i++)
        threads.emplace_back(work, i);
    for (std::thread& thread : threads)
        thread.join();
}

TEST(ManyThreads, all_get_the_stated_answers) {
    ASSERT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_NONE, nullptr), 0);
    const std::vector<signed_file> files = signed_files();
    on_threads(8, [&](int thread) {
        for (size_t i = 0; i < files.size(); i++) {
            const signed_file& file = files[(i + static_cast<size_t>(thread) * 5) % files.size()];
            const sigcheck_facts facts = query(fixture(file.name));
            EXPECT_EQ(facts.state, file.state) << file.name;
            EXPECT_EQ(signer(facts), file.signer) << file.name;
        }
    });
}

TEST(ManyThreads, that_ask_for_one_file_at_once_have_it_read_once) {
    VerdictCache cache(16);
    std::atomic<int> read = 0;
    std::atomic<int> right = 0;
    on_threads(8, [&](int) {
        const verdict found = cache.get({1, 2, 3, 4, 5}, [&]() -> VerdictCache::answer {
            read++;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            return {{.state = SIGCHECK_BROKEN}, true};
        });
        if (found.state == SIGCHECK_BROKEN)
            right++;
    });
    EXPECT_EQ(read, 1);
    EXPECT_EQ(right, 8);
    EXPECT_EQ(cache.counters().hits, 7U);
    EXPECT_EQ(cache.counters().misses, 1U);
}

TEST(ManyThreads, a_reading_that_fails_is_left_to_the_next) {
    VerdictCache cache(16);
    std::atomic<int> read = 0;
    std::atomic<int> failed = 0;
    std::atomic<int> right = 0;
    on_threads(4, [&](int) {
        try {
            const verdict found = cache.get({1, 2, 3, 4, 5}, [&]() -> VerdictCache::answer {
                const int turn = read++;
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                if (turn == 0)
                    throw std::bad_alloc();
                return {{.state = SIGCHECK_OK, .intact = true}, true};
            });
            right += found.intact ? 1 : 0;
        } catch (const std::bad_alloc&) {
            failed++;
        }
    });
    EXPECT_EQ(failed, 1);
    EXPECT_EQ(right, 3);
    EXPECT_EQ(read, 2);
}

TEST(ManyThreads, may_ask_while_the_policy_and_the_bound_change) {
    std::atomic<bool> stop = false;
    std::thread changer([&] {
        const std::string roots = fixture("root.pem");
        for (int round = 0; round < 30; round++) {
            EXPECT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_FILE, roots.c_str()), 0);
            sigcheck_set_cache_limit(static_cast<size_t>(round % 3));
            sigcheck_counters counters;
            sigcheck_get_counters(&counters);
            EXPECT_LE(counters.entries, 2U);
            EXPECT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_NONE, nullptr), 0);
        }
        stop = true;
    });
    on_threads(4, [&](int thread) {
        const char* const names[] = {"cn.exe", "ou.exe", "chain_gap.exe", "flipped_code.exe"};
        while (!stop) {
            const sigcheck_facts facts = query(fixture(names[thread]));
            // The gap's chain is trusted under no policy; the others' under each of them.
            if (thread == 3)
                EXPECT_EQ(facts.state, SIGCHECK_BROKEN);
            else if (thread == 2)
                EXPECT_EQ(facts.state, facts.trusted == 0 ? SIGCHECK_NOT_TRUSTED : SIGCHECK_OK);
            else
                EXPECT_EQ(facts.state, SIGCHECK_OK);
        }
    });
    changer.join();
    sigcheck_set_cache_limit(4096);
}

TEST(ManyThreads, a_bound_that_is_set_while_the_policy_changes_holds_afterwards) {
    for (size_t round = 0; round < 200; round++) {
        std::thread changer([] { EXPECT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_NONE, nullptr), 0); });
        sigcheck_set_cache_limit(round % 2);
        changer.join();
        EXPECT_EQ(query(fixture("cn.exe")).state, SIGCHECK_OK);
        sigcheck_counters counters;
        sigcheck_get_counters(&counters);
        ASSERT_EQ(counters.entries, round % 2) << round;
    }
    sigcheck_set_cache_limit(4096);
}

TEST(ManyThreads, see_old_or_new_of_a_file_that_is_replaced_meanwhile) {
    ASSERT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_NONE, nullptr), 0);
    const OwnFolder folder;
    const std::string path = folder.path("program.exe");
    const std::vector<uint8_t> versions[] = {read_bytes(fixture("cn.exe")),
                                             read_bytes(fixture("ou.exe"))};
    write_bytes(path, versions[0]);
    std::atomic<bool> stop = false;
    std::thread writer([&] {
        for (int round = 0; round < 200; round++)
            write_bytes(path, versions[round % 2]);
        write_bytes(path, versions[1]);
        stop = true;
    });
    on_threads(3, [&](int) {
        while (!stop) {
            const sigcheck_facts facts = query(path);
            if (facts.state == SIGCHECK_OK) {
                const std::string name = signer(facts);
                EXPECT_TRUE(name == "Example Signer Ltd" || name == "Build Desk") << name;
            }
        }
    });
    writer.join();
    EXPECT_EQ(signer(query(path)), "Build Desk");
}

}  // namespace
}  // namespace orvu::sigcheck::tests
