// What several threads may do to the plug-in's shell at once, for the thread sanitizer to watch:
// events against rule changes and sweeps, conditions against library changes, starts against
// starts.

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "plugins/kolvessa/app_main/conditions.h"
#include "plugins/kolvessa/kolvessa/process_event.h"
#include "plugins/kolvessa/log.h"
#include "tests/plugins/kolvessa/app_main/plugin_test.h"

namespace kolvessa {
namespace {

using testing::Each;
using testing::Pair;

constexpr const char* rules = R"([{"appid":7,"elements":[{"originalname":"tool.exe"}]},
                                  {"appid":8,"elements":[{"procpath":"apps*tool"}]}])";
constexpr int handlers = 4;
constexpr uint32_t events_each = 60;

class ShellConcurrent : public PluginTest {
  protected:
    // Brings the process side up with the rules, on the calling thread.
    CKolvessa& start() {
        host.set_log_level(1);
        home.install("default", rules);
        EXPECT_EQ(orvu_plugin_init(nullptr), 0);
        CKolvessa* const kolvessa = g_kolvessa;
        EXPECT_EQ(kolvessa->kolvessa_start(), 0);
        return *kolvessa;
    }

    fakehost::EventResult raise(const char* path, uint64_t pid, uint64_t parent_pid,
                                unsigned misalignment) {
        fakehost::Event event;
        event.path = fakehost::wide(path);
        event.pid = pid;
        event.parent_pid = parent_pid;
        event.misalignment = misalignment;
        return host.raise(event);
    }

    // Runs `work(index)` on `count` threads at once and waits for them.
    template <typename Work>
    static void together(int count, const Work& work) {
        std::vector<std::thread> threads;
        threads.reserve(static_cast<size_t>(count));
        for (int i = 0; i < count; ++i) {
            threads.emplace_back([&work, i] { work(i); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
};

TEST_F(ShellConcurrent, events_of_several_threads_against_rule_changes) {
    CKolvessa& kolvessa = start();
    std::atomic<uint32_t> wrong = 0;
    together(handlers + 1, [&](int index) {
        if (index == handlers) {
            for (int change = 0; change < 20; ++change) {
                const CAutoLock guard(kolvessa);
                kolvessa.kolvessa_start();
            }
            return;
        }
        for (uint32_t i = 0; i < events_each; ++i) {
            const auto result = raise("C:\\apps\\tool.exe", 1000 + i, 0, i % 4);
            if (!result.completed || result.flags != 8) {
                ++wrong;
            }
        }
    });
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(host.relations().size(), size_t{2} * handlers * events_each);
}

TEST_F(ShellConcurrent, failing_events_against_the_end_of_a_sweeps_first_phase) {
    CKolvessa& kolvessa = start();
    host.set_parent_policy([](uint64_t, uint64_t) { return 1; });
    for (uint32_t round = 0; round < 10; ++round) {
        kolvessa.set_sweeping(true);
        CKolvessa::ProcessMap at_end;
        together(handlers + 1, [&](int index) {
            if (index == handlers) {
                std::this_thread::yield();
                kolvessa.set_sweeping(false);
                at_end = kolvessa.late_processes();
                return;
            }
            for (uint32_t i = 0; i < 10; ++i) {
                raise("C:\\apps\\other.exe", round * 1000 + index * 100 + i, 50, 1);
            }
        });
        // Nothing was added once the phase had ended.
        EXPECT_EQ(kolvessa.late_processes(), at_end);
        EXPECT_THAT(at_end, Each(Pair(testing::_, 50U)));
    }
}

TEST_F(ShellConcurrent, condition_callbacks_against_library_changes_end_with_the_newest_answer) {
    CKolvessa& kolvessa = start();
    constexpr int changes = 8;
    constexpr int attachers = 3;
    std::atomic<bool> done = false;
    std::mutex mutex;
    std::vector<orvu_cond> live;
    together(attachers + 1, [&](int index) {
        if (index == attachers) {
            std::vector<std::pair<std::string, std::string>> list;
            for (int i = 0; i < changes; ++i) {
                const std::string tag = std::string("t").append(std::to_string(i));
                home.install(tag, "[]");
                list.emplace_back(tag, home.framework_path(tag + ".json"));
                home.write_list(list);
                {
                    const CAutoLock guard(kolvessa);
                    kolvessa.kolvessa_start();
                }
                conditions_refresh();
            }
            done = true;
            return;
        }
        for (int i = 0; !done || i < changes; ++i) {
            std::string param = R"({"type":["t)";
            param += std::to_string(i % changes);
            param += "\"]}";
            const orvu_cond condition = host.attach("tm_kolvessa", param.c_str());
            if (i >= changes) {
                host.detach("tm_kolvessa", condition);
            } else {
                const std::lock_guard<std::mutex> guard(mutex);
                live.push_back(condition);
            }
            std::this_thread::yield();
        }
    });
    std::map<orvu_cond, int32_t> last;
    for (const auto& report : host.condition_results()) {
        last[report.condition] = report.state;
    }
    for (const orvu_cond condition : live) {
        EXPECT_EQ(last[condition], 1);
        host.detach("tm_kolvessa", condition);
    }
    EXPECT_EQ(live.size(), size_t{attachers} * changes);
}

TEST_F(ShellConcurrent, starts_at_once_start_one_plugin) {
    host.start_threads();
    std::atomic<int32_t> results = 0;
    together(4, [&](int) { results += orvu_plugin_init(nullptr) == 0 ? 0 : 1; });
    EXPECT_EQ(results, 0);
    EXPECT_EQ(host.count("orvu_basedrv_init_driver"), 1U);
    EXPECT_EQ(host.thread_count(), 3U);
    EXPECT_TRUE(host.wait_polling(0));
    EXPECT_EQ(host.count("orvu_basedrv_register_event_notify"), 1U);
}

TEST_F(ShellConcurrent, a_third_thread_that_does_not_start_against_the_first_in_its_start_up) {
    home.install("default", rules);
    host.start_threads();
    for (size_t round = 0; round < 20; ++round) {
        host.fail("orvu_thread_start", 9, 3 * round + 3);
        EXPECT_EQ(orvu_plugin_init(nullptr), 51);
        EXPECT_EQ(g_kolvessa, nullptr);
    }
    for (size_t thread = 0; thread < host.thread_count(); ++thread) {
        EXPECT_TRUE(host.wait_polling(thread)) << thread;
    }
    // Whichever came first, registration or failure: none of the objects is left registered.
    EXPECT_FALSE(host.has_event_handler());
}

TEST_F(ShellConcurrent, a_start_after_failed_ones_is_served_once) {
    home.install("default", rules);
    host.start_threads();
    host.fail("orvu_thread_start", 9, 3);
    host.fail("orvu_thread_start", 9, 6);
    EXPECT_EQ(orvu_plugin_init(nullptr), 51);
    EXPECT_EQ(orvu_plugin_init(nullptr), 51);
    EXPECT_EQ(orvu_plugin_init(nullptr), 0);
    for (size_t thread = 0; thread < host.thread_count(); ++thread) {
        EXPECT_TRUE(host.wait_polling(thread)) << thread;
    }
    ASSERT_TRUE(host.has_event_handler());
    EXPECT_EQ(raise("C:\\apps\\tool.exe", 100, 0, 1).flags, 8U);
}

TEST_F(ShellConcurrent, lines_of_several_threads_that_find_no_logger) {
    host.set_log_registered(false);
    together(4, [](int index) {
        for (int i = 0; i < 20; ++i) {
            KOLVESSA_LOG_WARN("thread %d line %d\n", index, i);
        }
    });
    EXPECT_EQ(host.messages(1).size(), 80U);
    EXPECT_GE(host.autologs().size(), 1U);
}

}  // namespace
}  // namespace kolvessa
