// On Linux, framework paths reach the files that they mean, with and without their spelling.

#include "standalone/orvubase/core/path_map.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "tests/standalone/orvubase/scratch.h"

namespace {

using orvu::path_find;
using orvu::path_from_native;
using orvu::path_resolve;
using orvu::path_to_native;

TEST(PathMap, drive_z_is_the_root_folder) {
    EXPECT_EQ(path_to_native("Z:\\usr\\bin\\ssh"), "/usr/bin/ssh");
    EXPECT_EQ(path_to_native("z:/usr\\bin"), "/usr/bin");
    EXPECT_EQ(path_to_native("Z:\\"), "/");
    EXPECT_EQ(path_to_native("Z:"), "/");
    EXPECT_EQ(path_to_native("Z:tmp"), "/tmp");
}

TEST(PathMap, another_drive_holds_no_file) {
    for (const char* path : {"C:\\Windows", "c:/x", "A:", "y:\\"}) {
        EXPECT_FALSE(path_to_native(path)) << path;
        EXPECT_FALSE(path_find(path)) << path;
        EXPECT_FALSE(path_resolve(path)) << path;
    }
}

TEST(PathMap, a_path_without_a_drive_is_taken_as_it_is) {
    EXPECT_EQ(path_to_native("/usr/bin/ssh"), "/usr/bin/ssh");
    EXPECT_EQ(path_to_native("\\usr\\bin"), "/usr/bin");
    EXPECT_EQ(path_to_native("lib\\rules.json"), "lib/rules.json");
    EXPECT_EQ(path_to_native("1:\\x"), "1:/x");
}

TEST(PathMap, an_empty_path_an_embedded_nul_and_an_endless_path_have_no_file) {
    EXPECT_FALSE(path_to_native(""));
    EXPECT_FALSE(path_to_native(std::string("Z:\\a\0b", 6)));
    EXPECT_TRUE(path_to_native(std::string(32767, 'a')));
    EXPECT_FALSE(path_to_native(std::string(32768, 'a')));
}

TEST(PathMap, native_paths_come_back_from_their_framework_form) {
    for (const char* path : {"/", "/usr/bin/ssh", "/a b/\xC3\xA4", "rel/x", "/bad\xFF"}) {
        EXPECT_EQ(path_to_native(path_from_native(path)), path) << path;
    }
    EXPECT_EQ(path_from_native("/usr/bin/ssh"), "Z:\\usr\\bin\\ssh");
    EXPECT_EQ(path_from_native("/"), "Z:\\");
    EXPECT_EQ(path_from_native("rel/x"), "rel\\x");
    EXPECT_EQ(path_from_native(""), "");
}

TEST(PathMap, a_file_is_found_as_spelled_first) {
    const Scratch scratch;
    scratch.write("Tool.exe", "1");
    scratch.write("tool.exe", "2");
    EXPECT_EQ(path_find(scratch.framework("tool.exe")), scratch.native("tool.exe"));
    EXPECT_EQ(path_find(scratch.framework("Tool.exe")), scratch.native("Tool.exe"));
}

TEST(PathMap, a_file_is_found_without_regard_to_case_in_every_component) {
    const Scratch scratch;
    scratch.write("Program Files/Some Tool/Tool.EXE", "1");
    const std::string whole = scratch.native("Program Files/Some Tool/Tool.EXE");
    EXPECT_EQ(path_find(scratch.framework("program files/some tool/tool.exe")), whole);
    EXPECT_EQ(path_find(scratch.framework("PROGRAM FILES/SOME TOOL/TOOL.EXE")), whole);
    EXPECT_EQ(path_find(scratch.framework("program files\\.\\some tool\\..\\some tool\\tool.exe"))
                  .has_value(),
              true);
    EXPECT_FALSE(path_find(scratch.framework("program files/some tool/other.exe")));
}

TEST(PathMap, case_beyond_ascii_is_folded_too) {
    const Scratch scratch;
    scratch.write("\xC3\x84rger/\xD0\x9F\xD1\x80.exe", "1");
    EXPECT_EQ(path_find(scratch.framework("\xC3\xA4rger/\xD0\xBF\xD1\x80.EXE")),
              scratch.native("\xC3\x84rger/\xD0\x9F\xD1\x80.exe"));
}

TEST(PathMap, names_that_are_no_utf8_match_only_their_own_bytes) {
    const Scratch scratch;
    const std::string name = scratch.native() + "/Bad\xFF\xC3";
    ASSERT_EQ(symlink("/", name.c_str()), 0);
    EXPECT_EQ(path_find(path_from_native(scratch.native() + "/bad\xFF\xC3")), name);
    EXPECT_FALSE(path_find(path_from_native(scratch.native() + "/bad\xFE\xC3")));
}

TEST(PathMap, the_search_turns_back_from_a_folder_that_does_not_hold_the_rest) {
    const Scratch scratch;
    scratch.write("work/other.txt", "1");
    scratch.write("Work/Deep/Tool.exe", "2");
    scratch.write("WORK/deep/x", "3");
    EXPECT_EQ(path_find(scratch.framework("work/deep/tool.exe")),
              scratch.native("Work/Deep/Tool.exe"));
}

TEST(PathMap, of_several_spellings_the_first_in_byte_order_is_taken) {
    const Scratch scratch;
    scratch.write("TOOL.exe", "1");
    scratch.write("Tool.exe", "2");
    EXPECT_EQ(path_find(scratch.framework("tool.exe")), scratch.native("TOOL.exe"));
}

TEST(PathMap, the_search_ends_in_a_thicket_of_spellings) {
    const Scratch scratch;
    // Every folder holds two spellings of the next, to a depth at which trying all of them would
    // not end.
    std::string path = scratch.native();
    std::string wanted = scratch.framework();
    for (int depth = 0; depth < 24; ++depth) {
        std::filesystem::create_directory(path + "/AA");
        std::filesystem::create_directory_symlink("AA", path + "/Aa");
        path += "/AA";
        wanted += "\\aa";
    }
    EXPECT_EQ(path_find(wanted), path);
    EXPECT_FALSE(path_find(wanted + "\\missing"));
}

TEST(PathMap, resolving_keeps_the_spelling_of_what_does_not_exist_yet) {
    const Scratch scratch;
    scratch.write("Bin/here.txt", "1");
    EXPECT_EQ(path_resolve(scratch.framework("bin/HERE.txt")), scratch.native("Bin/here.txt"));
    EXPECT_EQ(path_resolve(scratch.framework("bin/New/File.txt")),
              scratch.native("Bin/New/File.txt"));
    EXPECT_EQ(path_resolve("relative\\New.txt"), "relative/New.txt");
}

TEST(PathMap, a_file_in_the_middle_of_a_path_hides_what_follows) {
    const Scratch scratch;
    scratch.write("file", "1");
    EXPECT_FALSE(path_find(scratch.framework("FILE/x")));
    EXPECT_EQ(path_resolve(scratch.framework("FILE/x")), scratch.native("file/x"));
}

}  // namespace
