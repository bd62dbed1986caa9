// Without a word from the host the home is made where the account keeps its state. A program of its
// own, since a process decides this once.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "orvubase.h"
#include "standalone/orvubase/orvubase_host.h"
#include "tests/standalone/orvubase/scratch.h"

namespace {

TEST(DefaultHome, it_is_made_when_it_is_first_needed) {
    const Scratch scratch;
    ASSERT_EQ(setenv("XDG_STATE_HOME", scratch.native("state").c_str(), 1), 0);
    EXPECT_FALSE(std::filesystem::exists(scratch.path() / "state"));
    char buffer[ORVU_PATH_CAPACITY];
    ASSERT_EQ(orvu_path_get_cur_proc_a(buffer, sizeof buffer), 0);
    EXPECT_EQ(buffer, scratch.framework("state/orvu/bin/orvu"));
    EXPECT_EQ(orvu_host_home(), scratch.native("state/orvu"));
    for (const char* name : {"bin", "var", "log"}) {
        EXPECT_TRUE(std::filesystem::is_directory(scratch.path() / "state" / "orvu" / name));
    }
}

}  // namespace
