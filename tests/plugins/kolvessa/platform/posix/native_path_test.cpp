// Framework paths on Linux.

#include "plugins/kolvessa/platform/posix/native_path.h"

#include <gtest/gtest.h>

#include "tests/fixtures/pe_fixture.h"

namespace kolvessa::platform {
namespace {

TEST(NativePath, the_drive_z_is_the_root_folder) {
    EXPECT_EQ(native_path(u"Z:\\usr\\bin\\ssh"), "/usr/bin/ssh");
    EXPECT_EQ(native_path(u"z:/usr/bin\\ssh"), "/usr/bin/ssh");
    EXPECT_EQ(native_path(u"Z:"), "/");
    EXPECT_EQ(native_path(u"Z:tmp"), "/tmp");
}

TEST(NativePath, no_other_drive_holds_a_file) {
    EXPECT_EQ(native_path(u"C:\\usr\\bin\\ssh"), "");
    EXPECT_EQ(native_path(u"a:b"), "");
}

TEST(NativePath, a_path_without_a_drive_is_taken_as_it_is) {
    EXPECT_EQ(native_path(u"\\usr\\bin"), "/usr/bin");
    EXPECT_EQ(native_path(u"relative\\file"), "relative/file");
    EXPECT_EQ(native_path(u"1:x"), "1:x");
    EXPECT_EQ(native_path(u""), "");
    EXPECT_EQ(native_path(nullptr), "");
}

TEST(NativePath, every_length_of_utf8_is_made) {
    EXPECT_EQ(native_path(u"\\aß日\U00020BB7"), "/aß日𠮷");
}

TEST(NativePath, text_that_is_not_utf16_is_not_found) {
    EXPECT_EQ(native_path(std::u16string{u'\\', 0xD842}.c_str()), "");
    EXPECT_EQ(native_path(std::u16string{u'\\', 0xDFB7}.c_str()), "");
    EXPECT_EQ(native_path(std::u16string{0xD842, u'a'}.c_str()), "");
    EXPECT_EQ(native_path(std::u16string{0xD842, 0xD842, 0xDFB7}.c_str()), "");
}

TEST(NativePath, a_path_beyond_the_systems_limit_is_not_found) {
    EXPECT_EQ(native_path(std::u16string(40000, u'a').c_str()), "");
    EXPECT_EQ(native_path(std::u16string(32767, u'a').c_str()).size(), 32767U);
    // A pair that lies across the limit does not step over it.
    EXPECT_EQ(
        native_path(
            (std::u16string(32766, u'a') + u"\xD83D\xDE00" + std::u16string(10, u'a')).c_str()),
        "");
}

TEST(FindWithoutCase, every_component_is_found_in_another_case) {
    const pe_fixture::TestFile made("GröSSe Ünd.EXE");
    made.write({1});
    const std::string folder = made.native().parent_path().string();
    std::string upper = folder;
    for (char& c : upper) {
        c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
    }
    EXPECT_EQ(find_without_case(folder + "/grösse ünd.exe"), made.native().string());
    EXPECT_EQ(find_without_case(upper + "/GRÖSSE ÜND.exe"), made.native().string());
    EXPECT_EQ(find_without_case(folder + "/grosse und.exe"), "");
    EXPECT_EQ(find_without_case(folder + "/grösse ünd.exe/below"), "");
}

TEST(FindWithoutCase, what_exists_as_spelled_goes_first) {
    const pe_fixture::TestFile made("same");
    made.write({1});
    const std::filesystem::path folder = made.native().parent_path();
    std::filesystem::create_directories(folder / "Deep");
    std::filesystem::create_directories(folder / "deep");
    std::ofstream(folder / "Deep" / "inner").put('x');
    EXPECT_EQ(find_without_case((folder / "deep" / "INNER").string()),
              (folder / "Deep" / "inner").string());
    std::ofstream(folder / "deep" / "Inner").put('x');
    EXPECT_EQ(find_without_case((folder / "deep" / "INNER").string()),
              (folder / "deep" / "Inner").string());
}

TEST(FindWithoutCase, names_that_are_not_utf8_are_passed_over) {
    const pe_fixture::TestFile made("wanted");
    made.write({1});
    const std::string folder = made.native().parent_path().string();
    std::ofstream(folder + "/\xFF\xC3(").put('x');
    EXPECT_EQ(find_without_case(folder + "/WANTED"), made.native().string());
    EXPECT_EQ(find_without_case(folder + "/other"), "");
    EXPECT_EQ(find_without_case(""), "");
}

}  // namespace
}  // namespace kolvessa::platform
