#include "standalone/orvu/system.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <random>
#include <system_error>

namespace orvu {

namespace {

std::atomic<bool> stop_asked{false};

BOOL WINAPI note_control_event(DWORD) {
    stop_asked.store(true, std::memory_order_relaxed);
    return TRUE;
}

std::filesystem::path to_path(const std::string& text) {
    return {std::u8string(text.begin(), text.end())};
}

std::string to_text(const std::filesystem::path& path) {
    const auto text = path.u8string();
    return {text.begin(), text.end()};
}

std::string error_words(DWORD code) {
    return std::system_category().message(static_cast<int>(code));
}

}  // namespace

void prepare_streams() {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    SetConsoleOutputCP(CP_UTF8);
    SetConsoleCtrlHandler(note_control_event, TRUE);
}

bool interrupted() {
    return stop_asked.load(std::memory_order_relaxed);
}

bool is_terminal(Stream stream) {
    switch (stream) {
        case Stream::in:
            return _isatty(_fileno(stdin)) != 0;
        case Stream::out:
            return _isatty(_fileno(stdout)) != 0;
        case Stream::error:
            return _isatty(_fileno(stderr)) != 0;
    }
    return false;
}

std::string default_home_words() {
    return "%LOCALAPPDATA%\\orvu";
}

std::string program_folder() {
    std::wstring buffer(32768, L'\0');
    const DWORD length =
        GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
    if (length == 0 || length >= buffer.size()) {
        return {};
    }
    buffer.resize(length);
    return to_text(std::filesystem::path(buffer).parent_path());
}

std::string absolute_path(const std::string& path) {
    std::error_code error;
    const auto absolute = std::filesystem::absolute(to_path(path), error);
    return error ? path : to_text(absolute.lexically_normal().make_preferred());
}

FileKind file_kind(const std::string& path) {
    const DWORD attributes = GetFileAttributesW(to_path(path).c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return FileKind::missing;
    }
    const DWORD no_file = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE;
    return (attributes & no_file) == 0 ? FileKind::file : FileKind::other;
}

std::string make_temporary_folder(const std::string& parent, const std::string& prefix,
                                  std::string& why) {
    std::random_device random;
    for (int attempt = 0; attempt < 100; ++attempt) {
        const auto path = to_path(parent + "\\" + prefix + std::to_string(random()));
        if (CreateDirectoryW(path.c_str(), nullptr) != 0) {
            return to_text(path);
        }
        const DWORD code = GetLastError();
        if (code != ERROR_ALREADY_EXISTS) {
            why = error_words(code);
            return {};
        }
    }
    why = "every name tried is taken";
    return {};
}

void remove_folder(const std::string& path) {
    std::error_code ignored;
    std::filesystem::remove_all(to_path(path), ignored);
}

orvu_plugin_entry load_plugin(const std::string& path, std::string& why) {
    const HMODULE library = LoadLibraryW(to_path(path).c_str());
    if (library == nullptr) {
        why = error_words(GetLastError());
        return nullptr;
    }
    const FARPROC symbol = GetProcAddress(library, ORVU_PLUGIN_ENTRY_NAME);
    if (symbol == nullptr) {
        why = "it has no " ORVU_PLUGIN_ENTRY_NAME;
        return nullptr;
    }
    orvu_plugin_entry entry = nullptr;
    static_assert(sizeof entry == sizeof symbol);
    std::memcpy(&entry, &symbol, sizeof entry);
    return entry;
}

std::string plugin_file_name() {
    return "libkolvessa.dll";
}

void leave(int code) {
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(code));
    std::abort();
}

}  // namespace orvu
