// Any number of threads match and ask for categories at once under the shared side, libraries
// change under the exclusive side, and the tags may be asked for without either.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "plugins/kolvessa/lock.h"
#include "tests/plugins/kolvessa/app_rule/rule_test.h"

namespace kolvessa {
namespace {

constexpr int thread_count = 4;
constexpr int rounds = 300;

class AppRuleConcurrent : public RuleTest {
  protected:
    void SetUp() override {
        RuleTest::SetUp();
        file_.signer = fakehost::wide("s");
        file_.procpath = fakehost::wide("c:\\bin\\tool.exe");
    }
    static std::string two_rules(uint32_t first) {
        return rule(first, R"({"signer":"s"})") + "," +
               rule(first + 1, R"({"signer":"s","procpath":"\\tool*exe"})");
    }

    AppInfo file_;
};

TEST_F(AppRuleConcurrent, several_threads_match_at_once) {
    load(two_rules(1));
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < thread_count; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < rounds; ++i) {
                std::vector<RuleElement> found;
                store().match_app_info(file_, found);
                Appids category;
                const int32_t result = store().get_appids_by_category(category, "default/all");
                wrong += found.size() != 2 || found[0].appid != 1 || found[1].appid != 2 ||
                         result != 0 || category != Appids{1, 2};
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(AppRuleConcurrent, readers_see_one_parse_or_the_other_whole_while_libraries_change) {
    load(two_rules(1));
    const std::string odd = write("odd.ejs", library(two_rules(1)));
    const std::string even = write("even.ejs", library(two_rules(11)));
    CRwLock lock;
    std::atomic<bool> done{false};
    std::atomic<int> wrong{0};
    std::vector<std::thread> readers;
    for (int t = 0; t < thread_count; ++t) {
        readers.emplace_back([&] {
            while (!done) {
                std::vector<RuleElement> found;
                {
                    const CAutoLock guard(lock, shared_hold);
                    store().match_app_info(file_, found);
                }
                wrong += found.size() != 2 || found[1].appid != found[0].appid + 1 ||
                         found[0].tag != "default";
            }
        });
    }
    for (int i = 0; i < 20; ++i) {
        const CAutoLock guard(lock);
        bool changed = false;
        const std::string& path = i % 2 == 0 ? even : odd;
        EXPECT_EQ(store().load_json_from_file(path.c_str(), "default", changed), 0);
        EXPECT_EQ(store().do_all_parsh_json(), 0);
    }
    done = true;
    for (std::thread& thread : readers) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(AppRuleConcurrent, the_tags_are_answered_without_the_lock_while_libraries_change) {
    const std::string path = write("lib.ejs", library(two_rules(1)));
    bool changed = false;
    ASSERT_EQ(store().load_json_from_file(path.c_str(), "stays", changed), 0);
    std::atomic<bool> done{false};
    std::atomic<int> wrong{0};
    const LibraryTags& tags = store().library_tags();
    std::thread reader([&] {
        while (!done) {
            wrong += !tags.contains("stays") || tags.contains("never");
            tags.contains("comes and goes");
        }
    });
    for (int i = 0; i < rounds; ++i) {
        EXPECT_EQ(store().load_json_from_file(path.c_str(), "comes and goes", changed), 0);
        EXPECT_EQ(store().load_json_from_file(nullptr, "comes and goes", changed), 0);
    }
    done = true;
    reader.join();
    EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace kolvessa
