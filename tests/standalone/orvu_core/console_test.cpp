// A console line runs its command on the thread that declared it, and its echoes come back.
#include "standalone/orvu_core/console.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "tests/standalone/orvu_core/service_thread.h"

namespace orvu::test {
namespace {

constexpr uint32_t kLong = 10000;

std::pair<int32_t, std::string> run(const char* line, uint32_t timeout = kLong) {
    json_t* output = nullptr;
    const int32_t code = orvu_host_console(line, timeout, &output);
    const JsonRef echoes(output);
    return {code, text_of(echoes)};
}

void show(int32_t argc, const char* const* argv, orvu_dbg context) {
    for (int32_t i = 0; i < argc; ++i) {
        orvu_dbg_echo(context, i, argv[i]);
    }
    for (int32_t i = argc; i < argc + 4; ++i) {
        EXPECT_EQ(argv[i], nullptr);
    }
}

TEST(Console, a_command_gets_its_words_and_nulls_past_them) {
    const ServiceThread service(
        [] { EXPECT_EQ(orvu_dbg_decl("show", "show", "help text", show), 0); });
    EXPECT_EQ(run("show all"), (std::pair<int32_t, std::string>{
                                   0, R"([{"code":0,"text":"show"},{"code":1,"text":"all"}])"}));
    EXPECT_EQ(run("  show   \"a b\"  ").second,
              R"([{"code":0,"text":"show"},{"code":1,"text":"a b"}])");
}

TEST(Console, a_question_mark_asks_for_the_help_text) {
    const ServiceThread service([] { orvu_dbg_decl("asked", "asked", "one\n\ttwo", show); });
    EXPECT_EQ(run("asked ?").second, R"([{"code":0,"text":"one\n\ttwo"}])");
}

TEST(Console, each_failure_has_its_code) {
    static std::atomic<bool> release{false};
    const ServiceThread service([] {
        orvu_dbg_decl("slow", "slow", nullptr, [](int32_t, const char* const*, orvu_dbg context) {
            orvu_dbg_echo(context, 5, "begun");
            while (!release) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            EXPECT_EQ(orvu_dbg_echo(context, 6, "late"), ORVU_HOST_OK);
        });
    });
    EXPECT_EQ(run("unknown").first, ORVU_HOST_NOT_FOUND);
    EXPECT_EQ(run("").first, ORVU_HOST_INVALID);
    EXPECT_EQ(run(nullptr).first, ORVU_HOST_INVALID);
    EXPECT_EQ(run("slow \"open").first, ORVU_HOST_INVALID);
    EXPECT_EQ(run("slow", 100), (std::pair<int32_t, std::string>{
                                    ORVU_HOST_TIMED_OUT, R"([{"code":5,"text":"begun"}])"}));
    release = true;
    EXPECT_EQ(run("slow").first, ORVU_HOST_OK);
    EXPECT_EQ(orvu_host_console("slow", kLong, nullptr), ORVU_HOST_OK);
}

TEST(Console, a_thread_is_not_left_to_wait_for_itself_nor_for_one_that_ended) {
    EXPECT_EQ(orvu_dbg_decl("mine", "mine", "", show), ORVU_HOST_OK);
    EXPECT_EQ(orvu_dbg_decl("mine", "mine", "", show), ORVU_HOST_DUPLICATE);
    EXPECT_EQ(run("mine").first, ORVU_HOST_WOULD_BLOCK);
    std::atomic<bool> declared{false};
    std::thread owner([&declared] {
        orvu_dbg_decl("theirs", "theirs", "", show);
        declared = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    });
    ASSERT_TRUE(eventually([&declared] { return declared.load(); }));
    EXPECT_EQ(run("theirs").first, ORVU_HOST_OWNER_GONE);
    owner.join();
    EXPECT_EQ(run("theirs").first, ORVU_HOST_NOT_FOUND);
}

TEST(Console, echoes_need_a_running_command_and_are_bounded) {
    EXPECT_EQ(orvu_dbg_echo(0, 0, "x"), ORVU_HOST_NOT_FOUND);
    static std::atomic<orvu_dbg> kept{0};
    static std::atomic<int> taken{0};
    const ServiceThread service([] {
        orvu_dbg_decl("flood", "flood", "", [](int32_t, const char* const*, orvu_dbg context) {
            kept = context;
            EXPECT_EQ(orvu_dbg_echo(context, 0, nullptr), ORVU_HOST_INVALID);
            const std::string megabyte(1 << 20, 'x');
            while (orvu_dbg_echo(context, 0, megabyte.c_str()) == ORVU_HOST_OK) {
                ++taken;
            }
            EXPECT_EQ(orvu_dbg_echo(context, 0, megabyte.c_str()), ORVU_HOST_LIMIT);
        });
    });
    EXPECT_EQ(orvu_host_console("flood", kLong, nullptr), ORVU_HOST_OK);
    EXPECT_EQ(taken, 63);
    EXPECT_EQ(orvu_dbg_echo(kept, 0, "x"), ORVU_HOST_NOT_FOUND);
    EXPECT_EQ(orvu_dbg_decl("nothing", "nothing", "", nullptr), ORVU_HOST_INVALID);
    EXPECT_EQ(orvu_dbg_decl("nothing", nullptr, "", show), ORVU_HOST_INVALID);
}

}  // namespace
}  // namespace orvu::test
