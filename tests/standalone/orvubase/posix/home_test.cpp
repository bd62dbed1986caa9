// What is particular to the home on Linux: permissions, and names that framework paths cannot
// spell.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <string>

#include "orvubase.h"
#include "standalone/orvubase/orvubase_host.h"
#include "standalone/orvubase/system.h"
#include "tests/standalone/orvubase/scratch.h"

namespace {

unsigned int mode_of(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777U;
}

TEST(HomePosix, only_its_owner_enters_a_new_home) {
    const Scratch scratch;
    ASSERT_EQ(orvu_host_set_home(scratch.native("home").c_str()), 0);
    for (const char* path : {"home", "home/bin", "home/var", "home/log"}) {
        EXPECT_EQ(mode_of(scratch.native(path)), 0700U) << path;
    }
}

TEST(HomePosix, a_folder_that_exists_keeps_its_mode) {
    const Scratch scratch;
    scratch.write("home/bin/x", "");
    ASSERT_EQ(chmod(scratch.native("home").c_str(), 0755), 0);
    ASSERT_EQ(orvu_host_set_home(scratch.native("home").c_str()), 0);
    EXPECT_EQ(mode_of(scratch.native("home")), 0755U);
}

TEST(HomePosix, a_backslash_in_a_name_is_refused) {
    const Scratch scratch;
    EXPECT_EQ(orvu_host_set_home((scratch.native() + "/a\\b").c_str()), 4);
}

TEST(HomePosix, a_new_folder_gets_the_mode_asked_for_less_the_mask) {
    const Scratch scratch;
    const mode_t mask = umask(022);
    EXPECT_EQ(orvu_dirutils_mkdir(scratch.framework("a/b").c_str(), 509), 0);
    umask(mask);
    EXPECT_EQ(mode_of(scratch.native("a")), 0755U);
    EXPECT_EQ(mode_of(scratch.native("a/b")), 0755U);
}

TEST(HomePosix, a_folder_is_made_below_one_that_is_spelled_in_another_case) {
    const Scratch scratch;
    scratch.write("Var/x", "");
    EXPECT_EQ(orvu_dirutils_mkdir(scratch.framework("var/New").c_str(), 509), 0);
    EXPECT_TRUE(std::filesystem::is_directory(scratch.path() / "Var" / "New"));
    EXPECT_FALSE(std::filesystem::exists(scratch.path() / "var"));
}

TEST(HomePosix, the_default_is_the_state_folder_of_the_account) {
    ASSERT_EQ(setenv("XDG_STATE_HOME", "/state", 1), 0);
    ASSERT_EQ(setenv("HOME", "/home/someone", 1), 0);
    EXPECT_EQ(orvu::system::default_home(), "/state/orvu");
    ASSERT_EQ(setenv("XDG_STATE_HOME", "relative", 1), 0);
    EXPECT_EQ(orvu::system::default_home(), "/home/someone/.local/state/orvu");
    ASSERT_EQ(unsetenv("XDG_STATE_HOME"), 0);
    EXPECT_EQ(orvu::system::default_home(), "/home/someone/.local/state/orvu");
    ASSERT_EQ(unsetenv("HOME"), 0);
    EXPECT_TRUE(orvu::system::default_home().ends_with("/.local/state/orvu"));
}

}  // namespace
