// The log from the caller's side: what is handed in stands in the file, what is lost is counted,
// and nobody waits. A process has one log, so all tests of this program share one home.

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "orvubase.h"
#include "standalone/orvubase/log_file.h"
#include "standalone/orvubase/log_queue.h"
#include "standalone/orvubase/orvubase_host.h"
#include "standalone/orvubase/system.h"
#include "tests/standalone/orvubase/scratch.h"

namespace {

// The folder that a plug-in makes up for its log.
std::string plugin_folder() {
    char program[ORVU_PATH_CAPACITY];
    EXPECT_EQ(orvu_process_get_path(orvu::system::own_pid(), program, sizeof program), 0);
    const std::string path = program;
    char log[ORVU_PATH_CAPACITY];
    EXPECT_NE(orvu_log_dir(log, sizeof log), 0);
    char folder[ORVU_PATH_CAPACITY];
    orvu_str_snprintf(folder, sizeof folder, "%s/%s/%s/", log,
                      "/Talvern/ORVU3_LOG/orvu_default_autolog/",
                      path.substr(path.rfind('\\') + 1).c_str());
    return folder;
}

class LogOfProcess : public testing::Test {
  protected:
    LogOfProcess() {
        static const bool once = [] {
            EXPECT_EQ(orvu_host_set_home(home().native("home").c_str()), 0);
            return true;
        }();
        EXPECT_TRUE(once);
    }

    static Scratch& home() {
        static Scratch instance;
        return instance;
    }

    static void init() { ASSERT_EQ(orvu_autolog_init(plugin_folder().c_str(), 5), 0); }

    static std::string file(const std::string& name) {
        return std::string("home/log/Talvern/ORVU3_LOG/orvu_default_autolog/") +
               orvu::system::PROGRAM_NAME + "/" + name;
    }

    static std::string text() {
        orvu_host_log_flush();
        return home().read(file(orvu::LOG_FILE_NAME));
    }
};

TEST_F(LogOfProcess, lines_before_there_is_a_log_wait_and_those_beyond_the_queue_are_counted) {
    ASSERT_EQ(orvu_log_is_regestered(), 0);
    orvu_host_log_flush();
    for (size_t i = 0; i < orvu::LOG_QUEUE_LINES + 123; ++i) {
        EXPECT_EQ(orvu_log_output(2, "early line %u\n", static_cast<unsigned int>(i)), 0);
    }
    EXPECT_EQ(orvu_host_log_dropped(), 123U);
    init();
    EXPECT_NE(orvu_log_is_regestered(), 0);
    const std::string kept = text();
    EXPECT_TRUE(kept.starts_with("early line 0\nearly line 1\n"));
    EXPECT_TRUE(kept.ends_with("early line 8191\n"));
    EXPECT_EQ(orvu_host_log_dropped(), 123U);
}

TEST_F(LogOfProcess, a_line_stands_in_the_file_as_formatted) {
    init();
    orvu_log_output(1, "[%s] [warn] [pid:%d] [tid:%d] %s [%s:%d] process %S of %s\n",
                    "2026-01-02 03:04:05", 12, 34, "[nox]", "x.cpp", 56,
                    ORVU_TEXT("Z:\\\u00e4\u20ac\U0001F600.exe"), "tag");
    EXPECT_TRUE(
        text().ends_with("[2026-01-02 03:04:05] [warn] [pid:12] [tid:34] [nox] [x.cpp:56] process "
                         "Z:\\\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80.exe of tag\n"));
}

TEST_F(LogOfProcess, only_a_line_end_that_is_missing_is_added) {
    init();
    orvu_log_output(1, "marker one");
    orvu_log_output(1, "%s", "two\n");
    orvu_log_output(1, "three\n ");
    orvu_log_output(1, "{} %% {0} %s", "percent");
    EXPECT_TRUE(text().ends_with("marker one\ntwo\nthree\n \n{} % {0} percent\n"));
}

TEST_F(LogOfProcess, a_long_line_is_whole_up_to_65535_bytes) {
    init();
    const std::string whole(65535, 'w');
    orvu_log_output(1, "%s", whole.c_str());
    EXPECT_TRUE(text().ends_with("\n" + whole + "\n") || text() == whole + "\n");
    orvu_log_output(1, "begin%s", std::string(100000, 'c').c_str());
    EXPECT_TRUE(text().ends_with("begin" + std::string(65530, 'c') + "\n"));
}

TEST_F(LogOfProcess, a_second_set_up_changes_nothing) {
    init();
    const Scratch other;
    EXPECT_EQ(orvu_autolog_init(other.framework("elsewhere").c_str(), 5), 0);
    orvu_log_output(1, "after the second set-up\n");
    EXPECT_TRUE(text().ends_with("after the second set-up\n"));
    EXPECT_FALSE(std::filesystem::exists(other.path() / "elsewhere"));
}

TEST_F(LogOfProcess, null_arguments_are_reported) {
    EXPECT_EQ(orvu_autolog_init(nullptr, 5), 1);
    EXPECT_EQ(orvu_log_output(1, nullptr), 1);
}

TEST_F(LogOfProcess, the_level_is_info_at_the_start_and_stays_within_its_range) {
    EXPECT_EQ(orvu_log_level_get(), 2);
    EXPECT_EQ(orvu_host_log_level_get(), 2);
    orvu_host_log_level_set(3);
    EXPECT_EQ(orvu_log_level_get(), 3);
    orvu_host_log_level_set(99);
    EXPECT_EQ(orvu_log_level_get(), 3);
    orvu_host_log_level_set(-1);
    EXPECT_EQ(orvu_log_level_get(), 0);
    orvu_host_log_level_set(2);
}

TEST_F(LogOfProcess, an_echo_goes_to_standard_error) {
    init();
    orvu_host_log_flush();
    testing::internal::CaptureStderr();
    orvu_host_log_echo(1);
    orvu_log_output(1, "seen twice\n");
    orvu_host_log_flush();
    orvu_host_log_echo(0);
    orvu_log_output(1, "seen once\n");
    orvu_host_log_flush();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "seen twice\n");
    EXPECT_TRUE(text().ends_with("seen twice\nseen once\n"));
}

TEST_F(LogOfProcess, full_files_are_kept_up_to_the_count_and_never_grow_beyond_their_limit) {
    init();
    const uint64_t dropped = orvu_host_log_dropped();
    const std::string filler(60000, 'r');
    constexpr int LINES = 450;
    for (int i = 0; i < LINES; ++i) {
        orvu_log_output(1, "%06d %s\n", i, filler.c_str());
        if (i % 30 == 0) {
            orvu_host_log_flush();
        }
    }
    orvu_host_log_flush();
    EXPECT_EQ(orvu_host_log_dropped(), dropped);

    std::string expected_last = "000449";
    for (const char* name : {"orvu.log", "orvu.1.log", "orvu.2.log", "orvu.3.log", "orvu.4.log"}) {
        const std::string content = home().read(file(name));
        EXPECT_LE(content.size(), orvu::LOG_FILE_BYTES) << name;
        ASSERT_GT(content.size(), filler.size()) << name;
        const size_t last = content.rfind('\n', content.size() - 2) + 1;
        EXPECT_EQ(content.substr(last, 6), expected_last) << name;
        char previous[16];
        orvu_str_snprintf(previous, sizeof previous, "%06d", std::stoi(content.substr(0, 6)) - 1);
        expected_last = previous;
    }
    EXPECT_FALSE(std::filesystem::exists(home().path() / file("orvu.5.log")));
}

// The last of them: a closed log stays closed.
TEST_F(LogOfProcess, a_closed_log_lets_its_folder_be_removed_and_counts_what_comes_later) {
    init();
    orvu_log_output(1, "the last line\n");
    orvu_host_log_close();
    EXPECT_TRUE(home().read(file(orvu::LOG_FILE_NAME)).ends_with("the last line\n"));
    std::error_code error;
    std::filesystem::remove_all(home().path() / "home" / "log", error);
    EXPECT_FALSE(error) << error.message();

    const uint64_t dropped = orvu_host_log_dropped();
    EXPECT_NE(orvu_log_is_regestered(), 0);
    orvu_log_output(1, "too late\n");
    orvu_host_log_flush();
    EXPECT_EQ(orvu_host_log_dropped(), dropped + 1);
    EXPECT_FALSE(std::filesystem::exists(home().path() / "home" / "log"));
}

}  // namespace
