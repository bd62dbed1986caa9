// Searches in several threads at once find what a search on its own finds.

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "plugins/kolvessa/aho_corasick.h"

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

TEST(AhoCorasickConcurrent, searches_at_once_find_what_one_alone_finds) {
    std::mt19937 random(7);
    CAhoCorasick matcher;
    for (uint32_t id = 0; id < 300; ++id) {
        matcher.add_pattern(random_word(random, 1 + random() % 10), id);
    }
    matcher.build();

    std::vector<std::string> texts;
    std::vector<ids> wanted;
    for (int i = 0; i < 200; ++i) {
        texts.push_back(random_word(random, random() % 60));
        wanted.emplace_back();
        matcher.search(texts.back(), wanted.back());
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
