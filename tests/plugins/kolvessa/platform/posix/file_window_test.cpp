// Reading a file that changes under the reader, and things that are no files.

#include "plugins/kolvessa/platform/posix/file_window.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <numeric>

#include "tests/fixtures/pe_fixture.h"

namespace kolvessa::platform {
namespace {

using pe_fixture::TestFile;

std::vector<uint8_t> counted(size_t size) {
    std::vector<uint8_t> bytes(size);
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<uint8_t>(i * 31 + i / 256);
    }
    return bytes;
}

TEST(FileWindow, any_range_gives_the_files_bytes) {
    const std::vector<uint8_t> bytes = counted(100000);
    const TestFile made;
    made.write(bytes);
    const wide_string path = made.path();
    FileWindow file;
    ASSERT_TRUE(file.open(path.c_str()));
    EXPECT_EQ(file.size(), bytes.size());
    for (const uint32_t length : {1U, 8U, 4096U, 8191U, 8192U, 8193U, 50000U, 100000U}) {
        for (uint64_t offset = 0; offset + length <= bytes.size(); offset += 3331) {
            const std::span<const uint8_t> part = file.bytes(offset, length);
            ASSERT_EQ(part.size(), length);
            ASSERT_TRUE(std::equal(part.begin(), part.end(),
                                   bytes.begin() + static_cast<std::ptrdiff_t>(offset)));
        }
    }
}

TEST(FileWindow, what_the_file_has_not_got_is_nothing) {
    const TestFile made;
    made.write(counted(5000));
    const wide_string path = made.path();
    FileWindow file;
    ASSERT_TRUE(file.open(path.c_str()));
    EXPECT_TRUE(file.bytes(5000, 1).empty());
    EXPECT_TRUE(file.bytes(4999, 2).empty());
    EXPECT_TRUE(file.bytes(0, 5001).empty());
    EXPECT_TRUE(file.bytes(UINT64_MAX, 8).empty());
    EXPECT_TRUE(file.bytes(0, UINT32_MAX).empty());
}

TEST(FileWindow, a_file_cut_while_it_is_open_gives_nothing_behind_the_cut) {
    const TestFile made;
    made.write(counted(100000));
    const wide_string path = made.path();
    FileWindow file;
    ASSERT_TRUE(file.open(path.c_str()));
    std::filesystem::resize_file(made.native(), 20000);
    EXPECT_TRUE(file.bytes(50000, 100).empty());
    EXPECT_TRUE(file.bytes(0, 100000).empty());
    EXPECT_EQ(file.bytes(0, 16).size(), 16U);
}

TEST(FileWindow, a_folder_and_a_pipe_are_refused_at_once) {
    const TestFile made("pipe");
    const wide_string path = made.path();
    ASSERT_EQ(mkfifo(made.native().c_str(), 0600), 0);
    EXPECT_FALSE(FileWindow().open(path.c_str()));
    EXPECT_FALSE(FileWindow().open(u"Z:\\usr\\bin"));
    EXPECT_FALSE(FileWindow().open(u"Z:\\dev\\null"));
}

TEST(FileWindow, a_path_in_another_case_is_found) {
    const TestFile made("Program.Exe");
    made.write({1, 2, 3});
    wide_string path = made.path();
    path.replace(path.size() - 11, 11, u"pROGRAM.eXE");
    FileWindow file;
    EXPECT_TRUE(file.open(path.c_str()));
}

}  // namespace
}  // namespace kolvessa::platform
