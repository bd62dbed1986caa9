#include "standalone/orvubase/system.h"

#include <windows.h>

#include <vector>

#include "standalone/orvubase/core/utf.h"

namespace orvu::system {

const char* const PROGRAM_NAME = "orvu.exe";

namespace {

DWORD attributes(const std::string& native) {
    const std::optional<WString> wide = utf8_to_wide(native);
    return wide ? GetFileAttributesW(wide->c_str()) : INVALID_FILE_ATTRIBUTES;
}

std::optional<std::string> variable(const wchar_t* name) {
    std::vector<wchar_t> value(32768);
    const DWORD length =
        GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size()));
    if (length == 0 || length >= value.size()) {
        return std::nullopt;
    }
    return wide_to_utf8(WStringView(value.data(), length));
}

}  // namespace

// The folder inherits its parent's access list; the mode has no counterpart.
void make_folder(const std::string& native, int32_t) {
    if (const std::optional<WString> wide = utf8_to_wide(native)) {
        (void)CreateDirectoryW(wide->c_str(), nullptr);
    }
}

bool is_folder(const std::string& native) {
    const DWORD found = attributes(native);
    return found != INVALID_FILE_ATTRIBUTES && (found & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

std::string default_home() {
    if (const std::optional<std::string> local = variable(L"LOCALAPPDATA")) {
        return *local + "\\orvu";
    }
    if (const std::optional<std::string> profile = variable(L"USERPROFILE")) {
        return *profile + "\\AppData\\Local\\orvu";
    }
    return "C:\\ProgramData\\orvu";
}

uint32_t own_pid() {
    return GetCurrentProcessId();
}

void write_error(std::string_view text) {
    // Not owned: the process's own handle.
    const HANDLE error = GetStdHandle(STD_ERROR_HANDLE);
    while (!text.empty()) {
        DWORD written = 0;
        if (WriteFile(error, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) ==
                0 ||
            written == 0) {
            return;
        }
        text.remove_prefix(written);
    }
}

void stay_loaded() {
    HMODULE module = nullptr;
    (void)GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                             reinterpret_cast<LPCWSTR>(&stay_loaded), &module);
}

}  // namespace orvu::system
