// Without a word from the host the home is made below the account's local application data. A
// program of its own, since a process decides this once.

#include <gtest/gtest.h>

#include <windows.h>

#include <string>

#include "orvubase.h"
#include "standalone/orvubase/orvubase_host.h"
#include "tests/standalone/orvubase/scratch.h"

namespace {

TEST(DefaultHome, it_is_made_when_it_is_first_needed) {
    const Scratch scratch;
    ASSERT_NE(SetEnvironmentVariableW(L"LOCALAPPDATA", (scratch.path() / "local").c_str()), 0);
    char buffer[ORVU_PATH_CAPACITY];
    ASSERT_EQ(orvu_path_get_cur_proc_a(buffer, sizeof buffer), 0);
    EXPECT_EQ(buffer, scratch.framework("local\\orvu\\bin\\orvu.exe"));
    EXPECT_EQ(orvu_host_home(), scratch.native("local\\orvu"));
    for (const char* name : {"bin", "var", "log"}) {
        EXPECT_TRUE(std::filesystem::is_directory(scratch.path() / "local" / "orvu" / name));
    }
}

}  // namespace
