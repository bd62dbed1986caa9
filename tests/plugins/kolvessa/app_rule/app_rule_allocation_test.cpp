// An allocation that fails, whichever it is, leaves the list as it was and the content empty, its
// libraries and tags in step, and the next attempt succeeds.

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <string>

#include "plugins/kolvessa/app_rule/app_rule.h"
#include "plugins/kolvessa/lock.h"
#include "plugins/kolvessa/platform/platform.h"

namespace {

// Counts down the allocations of this thread while it is armed; the one that meets 0 fails.
thread_local bool armed = false;
thread_local size_t left = 0;

void* allocate(size_t size) {
    if (armed) {
        if (left == 0) {
            armed = false;
            throw std::bad_alloc();
        }
        --left;
    }
    void* block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

// Runs `work` with its nth allocation failing. True when it failed; false when there is none such.
template <typename Work>
bool with_failing_allocation(size_t nth, Work work) {
    left = nth;
    armed = true;
    try {
        work();
    } catch (const std::bad_alloc&) {
        armed = false;
        return true;
    }
    const bool unreached = armed;
    armed = false;
    return !unreached;
}

}  // namespace

void* operator new(size_t size) {
    return allocate(size);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    try {
        return allocate(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, size_t) noexcept {
    std::free(block);
}

namespace kolvessa {
namespace {

using testing::IsEmpty;

constexpr const char* tag = "a tag that is too long for small strings";
constexpr const char* document = R"({"apprule":{"version":3,
    "category":"a category with a long name",
    "rules":[{"appid":1,"elements":[{"signer":"some longer signer"},
        {"productname":"a longer product name"},{"procpath":"\\a longer folder name\\*.exe"},
        {"procpath":"tool"}]}],
    "item":[{"category":"another category with a name",
        "rules":[{"appid":2,"elements":[{"signer":"some longer signer","procpath":"tool*e"}]}]}]
    }})";

class AppRuleAllocation : public testing::Test {
  protected:
    void SetUp() override {
        const std::u16string signer = u"some longer signer";
        file_.signer.assign(signer.begin(), signer.end());
        const std::u16string path = u"c:\\bin\\tool.exe";
        file_.procpath.assign(path.begin(), path.end());
        path_ = (std::filesystem::temp_directory_path() /
                 ("kolvessa-allocation-test-" + std::to_string(platform::process_id()) + ".ejs"))
                    .string();
        std::ofstream(path_, std::ios::binary) << document;
    }
    void TearDown() override { std::filesystem::remove(path_); }

    void install() {
        bool changed = false;
        ASSERT_EQ(store_.load_json_from_file(path_.c_str(), tag, changed), 0);
    }
    std::vector<uint32_t> appids() {
        std::vector<RuleElement> matches;
        store_.match_app_info(file_, matches);
        std::vector<uint32_t> result;
        for (const RuleElement& element : matches) {
            result.push_back(element.appid);
        }
        return result;
    }
    using Appids = std::vector<uint32_t>;

    CAppRule store_;
    AppInfo file_;
    std::string path_;
};

TEST_F(AppRuleAllocation, a_reparse_that_runs_out_of_memory_leaves_an_empty_store) {
    install();
    const auto reparse = [&] {
        store_.do_all_parsh_json();
    };
    size_t emptied = 0;
    for (size_t nth = 0;; ++nth) {
        ASSERT_EQ(store_.do_all_parsh_json(), 0);
        ASSERT_EQ(appids(), (Appids{1, 1, 2}));
        if (!with_failing_allocation(nth, reparse)) {
            break;
        }
        if (store_.rule_count() != 0) {
            // It was the host that failed, in opening the file; the next try went well.
            ASSERT_EQ(appids(), (Appids{1, 1, 2})) << nth;
            continue;
        }
        ++emptied;
        ASSERT_THAT(appids(), IsEmpty()) << nth;
        ASSERT_FALSE(store_.has_path_patterns()) << nth;
        Appids out;
        ASSERT_EQ(store_.get_appids_by_category(out, tag), 2) << nth;
    }
    EXPECT_GT(emptied, 20U);
    EXPECT_EQ(appids(), (Appids{1, 1, 2}));
}

TEST_F(AppRuleAllocation, a_failed_reparse_leaves_the_lock_released) {
    install();
    CRwLock lock;
    const auto reparse = [&] {
        const CAutoLock guard(lock);
        store_.do_all_parsh_json();
    };
    ASSERT_TRUE(with_failing_allocation(10, reparse));
    ASSERT_TRUE(lock.TimedAcquire(0, false));
    lock.AssertHeld();
    lock.ReleaseExclusive();
}

TEST_F(AppRuleAllocation, a_match_that_runs_out_of_memory_leaves_the_store_as_it_was) {
    install();
    ASSERT_EQ(store_.do_all_parsh_json(), 0);
    size_t nth = 0;
    const auto match = [&] {
        std::vector<RuleElement> found;
        store_.match_app_info(file_, found);
    };
    for (; with_failing_allocation(nth, match); ++nth) {
        ASSERT_EQ(appids(), (Appids{1, 1, 2})) << nth;
    }
    EXPECT_GT(nth, 3U);
}

TEST_F(AppRuleAllocation, list_and_tags_stay_in_step_when_memory_runs_out) {
    size_t nth = 0;
    bool changed = false;
    const auto set = [&] {
        store_.load_json_from_file(path_.c_str(), tag, changed);
    };
    for (; with_failing_allocation(nth, set); ++nth) {
        const bool listed = store_.libraries().contains(tag);
        ASSERT_EQ(store_.has_library(tag), listed) << nth;
        ASSERT_EQ(changed, listed) << nth;
        if (listed) {
            ASSERT_EQ(store_.load_json_from_file(nullptr, tag, changed), 0);
        }
    }
    EXPECT_TRUE(store_.has_library(tag));
    EXPECT_EQ(store_.get_library_version(tag), 3U);
    EXPECT_GT(nth, 2U);
}

}  // namespace
}  // namespace kolvessa
