// Searches in several threads at once find what the literal algorithm finds.

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "plugins/kolvessa/aho_corasick.h"
#include "tests/plugins/kolvessa/aho_corasick_model.h"

namespace kolvessa {
namespace {

using ids = std::vector<uint32_t>;

std::string random_word(std::mt19937& random, size_t length) {
    std::string word(length, ' ');
    for (char& byte : word) {
        byte = "abc\\*"[random() % 5];
    }
    return word;
}

TEST(AhoCorasickConcurrent, searches_at_once_find_what_the_model_finds) {
    std::mt19937 random(7);
    CAhoCorasick matcher;
    testing::AhoCorasickModel model;
    for (uint32_t id = 0; id < 200; ++id) {
        const std::string pattern = random_word(random, 1 + random() % 10);
        matcher.add_pattern(pattern, id);
        model.add_pattern(pattern, id);
    }
    matcher.build();
    model.build();

    std::vector<std::string> texts;
    std::vector<ids> wanted;
    while (texts.size() < 200) {
        const std::string text = random_word(random, random() % 30);
        std::set<uint32_t> found;
        if (model.search(text, found, 4000)) {
            texts.push_back(text);
            wanted.emplace_back(found.begin(), found.end());
        }
    }

    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (size_t thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (size_t i = 0; i < texts.size(); ++i) {
                const size_t at = (i + thread * 50) % texts.size();
                ids found;
                matcher.search(texts[at], found);
                wrong += found == wanted[at] ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace kolvessa
