// When an allocation fails, at whatever place, the matcher and the caller's results are as they
// were, and the same call succeeds later.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "plugins/kolvessa/aho_corasick.h"

namespace {

// Allocations left until one fails; negative while none is to fail. One thread allocates at a time.
int64_t g_left = -1;

void* allocate(size_t size) {
    if (g_left == 0) {
        throw std::bad_alloc();
    }
    if (g_left > 0) {
        --g_left;
    }
    void* block = std::malloc(size != 0 ? size : 1);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

}  // namespace

void* operator new(size_t size) {
    return allocate(size);
}
void* operator new[](size_t size) {
    return allocate(size);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block, size_t) noexcept {
    std::free(block);
}

namespace kolvessa {
namespace {

using ids = std::vector<uint32_t>;

// Runs `call` with its first allocation failing, then its second and so on, until it succeeds.
// After each failure `check` looks at what is left. Returns the number of failures.
template <typename Call, typename Check>
int fail_at_each_allocation(Call call, Check check) {
    for (int failures = 0;; ++failures) {
        g_left = failures;
        try {
            call();
            g_left = -1;
            return failures;
        } catch (const std::bad_alloc&) {
            g_left = -1;
            check();
        }
    }
}

ids search(const CAhoCorasick& matcher, const std::string& text) {
    ids results;
    matcher.search(text, results);
    return results;
}

TEST(AhoCorasickAllocation, a_pattern_that_finds_no_memory_is_not_there) {
    const std::string text = "a text that is longer than a string holds within itself: b";
    CAhoCorasick matcher;
    const int failures = fail_at_each_allocation([&] { matcher.add_pattern(text, 1); },
                                                 [&] {
                                                     EXPECT_FALSE(matcher.has_patterns());
                                                     matcher.build();
                                                     EXPECT_EQ(search(matcher, text), ids{});
                                                 });
    EXPECT_GE(failures, 2);
    matcher.build();
    EXPECT_EQ(search(matcher, text), ids{1});
}

TEST(AhoCorasickAllocation, a_build_that_finds_no_memory_leaves_the_last_one_in_place) {
    CAhoCorasick matcher;
    matcher.add_pattern("abc", 1);
    matcher.build();
    for (uint32_t id = 2; id < 40; ++id) {
        matcher.add_pattern("*b" + std::to_string(id) + "*c", id);
    }
    const int failures = fail_at_each_allocation(
        [&] { matcher.build(); }, [&] { EXPECT_EQ(search(matcher, "abc xb7xc"), ids{1}); });
    EXPECT_GE(failures, 8);
    EXPECT_EQ(search(matcher, "xb7xc"), ids{7});
}

TEST(AhoCorasickAllocation, a_search_that_finds_no_memory_leaves_the_results_alone) {
    CAhoCorasick matcher;
    uint32_t id = 0;
    for (const char first : {'a', 'b', '*'}) {
        for (const char* rest : {"*a*b", "b*b", "ab*", "a", "b*a*a", "aab*a", "bb*ab", "*bb*a"}) {
            for (const char* more : {"", "a", "ba", "a*b"}) {
                matcher.add_pattern(std::string(1, first) + rest + more, id++);
            }
        }
    }
    matcher.build();
    const std::string text = "abaabbabaababbabbbaaababaabbabaabbaabbababbaabab";
    const ids wanted = search(matcher, text);
    EXPECT_GT(wanted.size(), 16U);
    ids results{7};
    const int failures = fail_at_each_allocation([&] { matcher.search(text, results); },
                                                 [&] { EXPECT_EQ(results, ids{7}); });
    EXPECT_GE(failures, 4);
    EXPECT_EQ(ids(results.begin() + 1, results.end()), wanted);
}

}  // namespace
}  // namespace kolvessa
