// A disk that is full or a folder that cannot be used costs lines, which are counted, and nothing
// else.

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>

#include "orvubase.h"
#include "standalone/orvubase/log_file.h"
#include "standalone/orvubase/orvubase_host.h"
#include "tests/standalone/orvubase/scratch.h"

namespace {

TEST(LogFull, lines_that_the_disk_refuses_are_counted_and_the_log_comes_back) {
    const Scratch scratch;
    ASSERT_EQ(orvu_host_set_home(scratch.native("home").c_str()), 0);
    std::filesystem::create_directory(scratch.path() / "logs");
    const std::string file = scratch.native("logs/") + orvu::LOG_FILE_NAME;
    ASSERT_EQ(symlink("/dev/full", file.c_str()), 0);
    ASSERT_EQ(orvu_autolog_init(scratch.framework("logs").c_str(), 5), 0);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(orvu_log_output(1, "line %d\n", i), 0);
        orvu_host_log_flush();
    }
    EXPECT_EQ(orvu_host_log_dropped(), 10U);

    // The folder goes away and a file takes its name; then there is room again.
    std::filesystem::remove_all(scratch.path() / "logs");
    scratch.write("logs", "in the way");
    std::this_thread::sleep_for(orvu::LOG_RETRY_PAUSE + std::chrono::milliseconds(100));
    orvu_log_output(1, "no folder\n");
    orvu_host_log_flush();
    EXPECT_EQ(orvu_host_log_dropped(), 11U);
    std::filesystem::remove(scratch.path() / "logs");
    std::this_thread::sleep_for(orvu::LOG_RETRY_PAUSE + std::chrono::milliseconds(100));
    orvu_log_output(1, "back again\n");
    orvu_host_log_flush();
    EXPECT_EQ(orvu_host_log_dropped(), 11U);
    EXPECT_EQ(scratch.read(std::string("logs/") + orvu::LOG_FILE_NAME), "back again\n");
}

}  // namespace
