// On Windows, framework paths are the system's paths.

#include "standalone/orvubase/core/path_map.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/standalone/orvubase/scratch.h"

namespace {

using orvu::path_find;
using orvu::path_from_native;
using orvu::path_resolve;
using orvu::path_to_native;

TEST(PathMap, a_path_stays_but_for_its_separators) {
    EXPECT_EQ(path_to_native("C:\\Windows/System32"), "C:\\Windows\\System32");
    EXPECT_EQ(path_from_native("C:/Windows"), "C:\\Windows");
    EXPECT_EQ(path_resolve("C:\\new/file"), "C:\\new\\file");
}

TEST(PathMap, an_empty_path_an_embedded_nul_and_an_endless_path_have_no_file) {
    EXPECT_FALSE(path_to_native(""));
    EXPECT_FALSE(path_to_native(std::string("C:\\a\0b", 6)));
    EXPECT_FALSE(path_to_native(std::string(32768, 'a')));
}

TEST(PathMap, a_file_is_found_in_any_case_and_with_any_letters) {
    const Scratch scratch;
    scratch.write("Some Tool/T\xC3\xB6ol.exe", "1");
    EXPECT_TRUE(path_find(scratch.framework("Some Tool/T\xC3\xB6ol.exe")));
    EXPECT_TRUE(path_find(scratch.framework("some tool/t\xC3\xB6ol.EXE")));
    EXPECT_FALSE(path_find(scratch.framework("some tool/other.exe")));
    EXPECT_FALSE(path_find("C:\\bad\xFF"));
}

}  // namespace
