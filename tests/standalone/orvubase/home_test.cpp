// The home that the host chooses.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "orvubase.h"
#include "standalone/orvubase/orvubase_host.h"
#include "tests/standalone/orvubase/scratch.h"

namespace {

std::string separator() {
    return {static_cast<char>(std::filesystem::path::preferred_separator)};
}

TEST(Home, setting_it_makes_the_folder_with_its_three) {
    const Scratch scratch;
    const std::string home = scratch.native("deep/h\xC3\xB6me");
    ASSERT_EQ(orvu_host_set_home(home.c_str()), 0);
    EXPECT_EQ(orvu_host_home(), scratch.native("deep") + separator() + "h\xC3\xB6me");
    const std::filesystem::path made = scratch.path() / u8"deep" / u8"h\u00f6me";
    for (const char* name : {"bin", "var", "log"}) {
        EXPECT_TRUE(std::filesystem::is_directory(made / name)) << name;
    }
}

TEST(Home, a_home_with_content_is_taken_as_it_is) {
    const Scratch scratch;
    scratch.write("home/bin/kolvessa_rule_path.ejs", "[]");
    ASSERT_EQ(orvu_host_set_home(scratch.native("home").c_str()), 0);
    EXPECT_EQ(scratch.read("home/bin/kolvessa_rule_path.ejs"), "[]");
    EXPECT_EQ(orvu_path_is_exist_u("@/kolvessa_rule_path.ejs"), 1);
}

TEST(Home, dots_and_a_separator_at_the_end_are_resolved) {
    const Scratch scratch;
    ASSERT_EQ(orvu_host_set_home((scratch.native("a/../home/./") + "/").c_str()), 0);
    EXPECT_EQ(orvu_host_home(), scratch.native("home"));
}

TEST(Home, a_relative_home_is_below_the_current_folder) {
    const Scratch scratch;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(scratch.path());
    EXPECT_EQ(orvu_host_set_home("here"), 0);
    EXPECT_TRUE(std::filesystem::is_directory(scratch.path() / "here" / "bin"));
    std::filesystem::current_path(before);
}

TEST(Home, what_was_answered_before_stays_valid_when_the_home_changes) {
    const Scratch scratch;
    ASSERT_EQ(orvu_host_set_home(scratch.native("one").c_str()), 0);
    const char* first = orvu_host_home();
    ASSERT_EQ(orvu_host_set_home(scratch.native("two").c_str()), 0);
    EXPECT_EQ(first, scratch.native("one"));
    EXPECT_EQ(orvu_host_home(), scratch.native("two"));
}

TEST(Home, a_refused_home_changes_nothing) {
    const Scratch scratch;
    ASSERT_EQ(orvu_host_set_home(scratch.native("home").c_str()), 0);
    scratch.write("file", "x");
    EXPECT_EQ(orvu_host_set_home(nullptr), 1);
    EXPECT_EQ(orvu_host_set_home(""), 1);
    EXPECT_EQ(orvu_host_set_home("/tmp/\xFF"), 1);
    EXPECT_EQ(orvu_host_set_home(scratch.native("file/below").c_str()), 3);
    EXPECT_EQ(orvu_host_home(), scratch.native("home"));
}

TEST(Home, the_longest_home_leaves_room_for_every_path_below_it) {
    const Scratch scratch;
    const std::string base = scratch.framework("");
    ASSERT_LT(base.size() + 2, static_cast<size_t>(ORVU_HOME_LIMIT));
    const std::string name(ORVU_HOME_LIMIT - base.size() - 1, 'h');
    EXPECT_EQ(orvu_host_set_home(scratch.native(name + "h").c_str()), 2);
    ASSERT_EQ(orvu_host_set_home(scratch.native(name).c_str()), 0);

    char log[ORVU_PATH_CAPACITY];
    ASSERT_NE(orvu_log_dir(log, sizeof log), 0);
    char folder[ORVU_PATH_CAPACITY];
    EXPECT_LT(orvu_str_snprintf(folder, sizeof folder, "%s/%s/%s/", log,
                                "/Talvern/ORVU3_LOG/orvu_default_autolog/", "orvu.exe"),
              ORVU_PATH_CAPACITY);
    char cache[ORVU_PATH_CAPACITY];
    EXPECT_EQ(orvu_dirutils_path_transform("@/../var/web_rule/web_rule_db_cache.ejs", cache,
                                           sizeof cache),
              0);
}

}  // namespace
