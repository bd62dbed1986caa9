// Where the framework's own things are, and what its path calls leave in a caller's buffer.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>

#include "orvubase.h"
#include "standalone/orvubase/core/path_map.h"
#include "standalone/orvubase/orvubase_host.h"
#include "standalone/orvubase/system.h"
#include "tests/standalone/orvubase/scratch.h"

namespace {

class Paths : public testing::Test {
  protected:
    Paths() { EXPECT_EQ(orvu_host_set_home(scratch_.native("home").c_str()), 0); }

    std::string home() const { return scratch_.framework("home"); }

    Scratch scratch_;
};

std::string directory(const std::string& path) {
    char buffer[ORVU_PATH_CAPACITY];
    EXPECT_EQ(orvu_path_directory(path.c_str(), buffer, sizeof buffer), 0);
    return buffer;
}

std::string transform(const char* path) {
    char buffer[ORVU_PATH_CAPACITY];
    EXPECT_EQ(orvu_dirutils_path_transform(path, buffer, sizeof buffer), 0);
    return buffer;
}

TEST_F(Paths, the_program_lies_in_the_homes_bin) {
    char buffer[ORVU_PATH_CAPACITY];
    ASSERT_EQ(orvu_path_get_cur_proc_a(buffer, sizeof buffer), 0);
    EXPECT_EQ(buffer, home() + "\\bin\\" + orvu::system::PROGRAM_NAME);
    char same[ORVU_PATH_CAPACITY];
    ASSERT_EQ(orvu_process_get_path(orvu::system::own_pid(), same, sizeof same), 0);
    EXPECT_STREQ(same, buffer);
}

TEST_F(Paths, the_log_folder_lies_in_the_home) {
    char buffer[ORVU_PATH_CAPACITY];
    ASSERT_NE(orvu_log_dir(buffer, sizeof buffer), 0);
    EXPECT_EQ(buffer, home() + "\\log");
}

TEST_F(Paths, an_at_sign_stands_for_the_homes_bin) {
    EXPECT_EQ(transform("@"), home() + "\\bin");
    EXPECT_EQ(transform("@/x"), home() + "\\bin\\x");
    EXPECT_EQ(transform("@\\x/y"), home() + "\\bin\\x\\y");
    EXPECT_EQ(transform("@/../var/web_rule/web_rule_db_cache.ejs"),
              home() + "\\var\\web_rule\\web_rule_db_cache.ejs");
    EXPECT_EQ(transform("@/.//x/./y/.."), home() + "\\bin\\x");
}

TEST_F(Paths, an_at_sign_elsewhere_stands_for_itself) {
    EXPECT_EQ(transform("@x/y"), "@x/y");
    EXPECT_EQ(transform("a/@/y"), "a/@/y");
    EXPECT_EQ(transform("Z:\\a\\..\\b"), "Z:\\a\\..\\b");
    EXPECT_EQ(transform(""), "");
}

TEST_F(Paths, a_buffer_of_every_size_gets_the_whole_path_or_an_empty_text) {
    const std::string whole = home() + "\\bin\\x";
    for (uint32_t size = 1; size <= whole.size() + 2; ++size) {
        std::string buffer(whole.size() + 4, '#');
        const int32_t result = orvu_dirutils_path_transform("@/x", buffer.data(), size);
        EXPECT_EQ(result, size > whole.size() ? 0 : 2) << size;
        EXPECT_EQ(std::string(buffer.c_str()), size > whole.size() ? whole : "") << size;
        EXPECT_EQ(buffer.substr(size), std::string(buffer.size() - size, '#')) << size;
    }
}

TEST_F(Paths, every_call_reports_a_buffer_that_is_too_small_and_leaves_it_empty) {
    char buffer[4] = "abc";
    EXPECT_EQ(orvu_log_dir(buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, "");
    buffer[0] = 'a';
    EXPECT_EQ(orvu_path_get_cur_proc_a(buffer, sizeof buffer), 2);
    EXPECT_STREQ(buffer, "");
    buffer[0] = 'a';
    EXPECT_EQ(orvu_process_get_path(orvu::system::own_pid(), buffer, sizeof buffer), 2);
    EXPECT_STREQ(buffer, "");
    buffer[0] = 'a';
    EXPECT_EQ(orvu_path_directory("Z:\\abcdef\\x", buffer, sizeof buffer), 2);
    EXPECT_STREQ(buffer, "");
}

TEST_F(Paths, null_arguments_are_reported) {
    char buffer[8] = "abc";
    EXPECT_EQ(orvu_log_dir(nullptr, 260), 0);
    EXPECT_EQ(orvu_path_get_cur_proc_a(nullptr, 260), 1);
    EXPECT_EQ(orvu_path_get_cur_proc_a(buffer, 0), 1);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(orvu_process_get_path(1, nullptr, 260), 1);
    EXPECT_EQ(orvu_path_directory("a", nullptr, 260), 1);
    EXPECT_EQ(orvu_dirutils_path_transform("@", nullptr, 260), 1);
    EXPECT_EQ(orvu_dirutils_path_transform(nullptr, buffer, sizeof buffer), 1);
    EXPECT_STREQ(buffer, "");
    buffer[0] = 'a';
    EXPECT_EQ(orvu_path_directory(nullptr, buffer, sizeof buffer), 1);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(orvu_path_is_exist_u(nullptr), 0);
    EXPECT_EQ(orvu_dirutils_mkdir(nullptr, 509), 1);
}

TEST_F(Paths, a_process_that_does_not_exist_has_no_path) {
    char buffer[8] = "abc";
    EXPECT_EQ(orvu_process_get_path(0x7FFFFFF0, buffer, sizeof buffer), 3);
    EXPECT_STREQ(buffer, "");
}

TEST_F(Paths, the_directory_part_is_what_precedes_the_last_component) {
    EXPECT_EQ(directory("Z:\\home\\bin\\orvu"), "Z:\\home\\bin");
    EXPECT_EQ(directory("Z:/home\\bin/orvu"), "Z:/home\\bin");
    EXPECT_EQ(directory("Z:\\home\\bin\\"), "Z:\\home\\bin");
    EXPECT_EQ(directory("Z:\\home\\\\orvu"), "Z:\\home");
    EXPECT_EQ(directory("Z:\\orvu"), "Z:\\");
    EXPECT_EQ(directory("\\orvu"), "\\");
    EXPECT_EQ(directory("orvu"), "");
    EXPECT_EQ(directory(""), "");
}

TEST_F(Paths, the_directory_part_can_replace_its_source) {
    char buffer[ORVU_PATH_CAPACITY] = "Z:\\home\\bin\\orvu";
    EXPECT_EQ(orvu_path_directory(buffer, buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, "Z:\\home\\bin");
}

TEST_F(Paths, existence_is_told_for_files_and_folders) {
    scratch_.write("home/bin/there.ejs", "{}");
    EXPECT_EQ(orvu_path_is_exist_u((home() + "\\bin\\there.ejs").c_str()), 1);
    EXPECT_EQ(orvu_path_is_exist_u((home() + "\\BIN\\There.EJS").c_str()), 1);
    EXPECT_EQ(orvu_path_is_exist_u("@/there.ejs"), 1);
    EXPECT_EQ(orvu_path_is_exist_u(home().c_str()), 1);
    EXPECT_EQ(orvu_path_is_exist_u((home() + "\\bin\\missing").c_str()), 0);
    EXPECT_EQ(orvu_path_is_exist_u(""), 0);
}

TEST_F(Paths, a_folder_is_made_with_those_above_it) {
    const std::string folder = home() + "\\var\\web_rule\\deep";
    EXPECT_EQ(orvu_dirutils_mkdir(folder.c_str(), 509), 0);
    EXPECT_EQ(orvu_path_is_exist_u(folder.c_str()), 1);
    EXPECT_EQ(orvu_dirutils_mkdir(folder.c_str(), 509), 0);
    EXPECT_TRUE(std::filesystem::is_directory(scratch_.path() / "home" / "var" / "web_rule"));
}

TEST_F(Paths, a_folder_below_a_file_cannot_be_made) {
    scratch_.write("home/var/file", "x");
    EXPECT_EQ(orvu_dirutils_mkdir((home() + "\\var\\file\\x").c_str(), 509), 3);
    EXPECT_EQ(orvu_dirutils_mkdir((home() + "\\var\\file").c_str(), 509), 3);
    EXPECT_EQ(orvu_dirutils_mkdir("", 509), 3);
}

TEST_F(Paths, sleeping_takes_at_least_its_time) {
    const auto start = std::chrono::steady_clock::now();
    orvu_msleep(30);
    // The coarsest tick of the systems is 16 ms.
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(14));
}

}  // namespace
