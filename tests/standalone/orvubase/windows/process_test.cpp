// Another process's path is the system's answer, and the default home is the account's.

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>
#include <string>

#include "orvubase.h"
#include "standalone/orvubase/core/utf.h"
#include "standalone/orvubase/system.h"

namespace {

TEST(Process, another_process_is_asked_of_the_system) {
    wchar_t program[MAX_PATH];
    ASSERT_NE(GetModuleFileNameW(nullptr, program, MAX_PATH), 0U);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION child{};
    ASSERT_NE(CreateProcessW(program, nullptr, nullptr, nullptr, FALSE, CREATE_SUSPENDED, nullptr,
                             nullptr, &startup, &child),
              0);
    char buffer[ORVU_PATH_CAPACITY];
    EXPECT_EQ(orvu_process_get_path(child.dwProcessId, buffer, sizeof buffer), 0);
    EXPECT_EQ(orvu::utf8_to_wide(buffer), std::wstring(program));
    TerminateProcess(child.hProcess, 0);
    CloseHandle(child.hThread);
    CloseHandle(child.hProcess);
}

TEST(HomeWindows, the_default_is_below_the_local_application_data) {
    ASSERT_NE(SetEnvironmentVariableW(L"LOCALAPPDATA", L"C:\\Local"), 0);
    EXPECT_EQ(orvu::system::default_home(), "C:\\Local\\orvu");
    ASSERT_NE(SetEnvironmentVariableW(L"LOCALAPPDATA", nullptr), 0);
    ASSERT_NE(SetEnvironmentVariableW(L"USERPROFILE", L"C:\\Someone"), 0);
    EXPECT_EQ(orvu::system::default_home(), "C:\\Someone\\AppData\\Local\\orvu");
}

}  // namespace
