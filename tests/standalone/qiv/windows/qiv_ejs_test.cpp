// What Windows brings along: attributes, readers that hold a file open, names of devices.

#include "qiv_ejs.h"

#include <gtest/gtest.h>

#include <windows.h>

#include "qiv_jansson.h"
#include "standalone/orvubase/core/utf.h"
#include "standalone/qiv_ejs/qiv_ejs_host.h"
#include "tests/standalone/qiv/own_folder.h"

namespace orvu::ejs::tests {
namespace {

int32_t dump(const std::string& path, const char* json) {
    json_t* const value = qiv_json_loads_ejs(json, 0, nullptr);
    const int32_t result = qiv_json_dump_file_ejs(value, framework(path).c_str());
    qiv_json_decref_ejs(value);
    return result;
}

std::wstring wide(const std::string& path) {
    return *utf8_to_wide(path);
}

TEST(FileOfJsonOnWindows, keeps_that_it_is_hidden) {
    const OwnFolder folder;
    const std::string path = folder.path("file");
    ASSERT_EQ(dump(path, "[1]"), 0);
    ASSERT_TRUE(SetFileAttributesW(wide(path).c_str(), FILE_ATTRIBUTE_HIDDEN));
    ASSERT_EQ(dump(path, "[2]"), 0);
    EXPECT_NE(GetFileAttributesW(wide(path).c_str()) & FILE_ATTRIBUTE_HIDDEN, 0U);
    EXPECT_EQ(read_text(path), "[\n  2\n]\n");
}

TEST(FileOfJsonOnWindows, stays_the_old_one_when_it_is_read_only) {
    const OwnFolder folder;
    const std::string path = folder.path("file");
    ASSERT_EQ(dump(path, "[1]"), 0);
    ASSERT_TRUE(SetFileAttributesW(wide(path).c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(dump(path, "[2]"), QIV_EJS_NOT_WRITTEN);
    SetFileAttributesW(wide(path).c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(read_text(path), "[\n  1\n]\n");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"file"});
}

TEST(FileOfJsonOnWindows, stays_the_old_one_while_someone_holds_it_open_for_good) {
    const OwnFolder folder;
    const std::string path = folder.path("file");
    ASSERT_EQ(dump(path, "[1]"), 0);
    const HANDLE reader = CreateFileW(wide(path).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(reader, INVALID_HANDLE_VALUE);
    EXPECT_EQ(dump(path, "[2]"), QIV_EJS_NOT_WRITTEN);
    CloseHandle(reader);
    EXPECT_EQ(read_text(path), "[\n  1\n]\n");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"file"});
    EXPECT_EQ(dump(path, "[2]"), 0);
}

TEST(FileOfJsonOnWindows, is_no_device) {
    for (const char* name : {"NUL", "\\\\.\\NUL"}) {
        EXPECT_EQ(qiv_json_load_file_ejs(name), nullptr) << name;
        EXPECT_EQ(qiv_ejs_last_error(nullptr, 0, nullptr), QIV_EJS_NOT_A_FILE) << name;
    }
}

}  // namespace
}  // namespace orvu::ejs::tests
