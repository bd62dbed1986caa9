#include "standalone/qiv_ejs/whole_file.h"

#include <windows.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "standalone/orvubase/core/path_map.h"
#include "standalone/orvubase/core/utf.h"
#include "standalone/qiv_ejs/qiv_ejs_host.h"

namespace orvu::ejs {
namespace {

class Handle {
  public:
    explicit Handle(HANDLE value) : value_(value) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() { close(); }
    [[nodiscard]] HANDLE get() const { return value_; }
    [[nodiscard]] bool valid() const { return value_ != INVALID_HANDLE_VALUE; }
    bool close() {
        if (!valid())
            return true;
        return CloseHandle(std::exchange(value_, INVALID_HANDLE_VALUE)) != 0;
    }

  private:
    HANDLE value_;
};

constexpr DWORD share_all = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD kept_attributes =
    FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;

bool fail(failure& why, int32_t kind, std::string reason) {
    why = {kind, std::move(reason)};
    return false;
}

bool fail_last(failure& why, int32_t kind, const char* what) {
    return fail(why, kind, std::string(what) + ": Windows error " + std::to_string(GetLastError()));
}

// The path in the system's own units; false when it names nothing that could exist.
bool wide_path(const char* path, std::wstring& out) {
    const std::optional<std::string> native = path_to_native(path);
    if (!native)
        return false;
    const std::optional<std::wstring> wide = utf8_to_wide(*native);
    if (!wide)
        return false;
    out = *wide;
    std::replace(out.begin(), out.end(), L'/', L'\\');
    return true;
}

// The file that `path` leads to, when it is a link.
bool follow_link(std::wstring& path, failure& why) {
    const Handle file(CreateFileW(path.c_str(), 0, share_all, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.valid())
        return fail_last(why, QIV_EJS_NOT_WRITTEN, "the link could not be followed");
    std::wstring real(32768, L'\0');
    const DWORD length =
        GetFinalPathNameByHandleW(file.get(), real.data(), static_cast<DWORD>(real.size()), 0);
    if (length == 0 || length >= real.size())
        return fail_last(why, QIV_EJS_NOT_WRITTEN, "the link could not be followed");
    real.resize(length);
    path = std::move(real);
    return true;
}

bool write_all(HANDLE file, std::string_view data) {
    while (!data.empty()) {
        DWORD written = 0;
        const auto chunk = static_cast<DWORD>(std::min<size_t>(data.size(), 1U << 24));
        if (!WriteFile(file, data.data(), chunk, &written, nullptr))
            return false;
        data.remove_prefix(written);
    }
    return true;
}

// A reader that doesn't share deletion (a scanner, an editor) blocks the move for a moment only.
bool move_over(const std::wstring& from, const std::wstring& to) {
    for (int attempt = 0;; attempt++) {
        if (MoveFileExW(from.c_str(), to.c_str(),
                        MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
            return true;
        const DWORD error = GetLastError();
        if (attempt == 10 || (error != ERROR_ACCESS_DENIED && error != ERROR_SHARING_VIOLATION))
            return false;
        Sleep(10);
        SetLastError(error);
    }
}

}  // namespace

bool read_whole_file(const char* path, size_t limit, content& out, failure& why) {
    std::wstring wide;
    if (!wide_path(path, wide))
        return fail(why, QIV_EJS_MISSING, "no such file");
    const Handle file(CreateFileW(wide.c_str(), GENERIC_READ, share_all, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (!file.valid()) {
        const DWORD error = GetLastError();
        if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ||
            error == ERROR_INVALID_NAME)
            return fail(why, QIV_EJS_MISSING, "no such file");
        const DWORD attributes = GetFileAttributesW(wide.c_str());
        if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
            return fail(why, QIV_EJS_NOT_A_FILE, "no regular file");
        SetLastError(error);
        return fail_last(why, QIV_EJS_NOT_OPENED, "could not be opened");
    }
    if (GetFileType(file.get()) != FILE_TYPE_DISK)
        return fail(why, QIV_EJS_NOT_A_FILE, "no regular file");
    LARGE_INTEGER size{};
    if (!GetFileSizeEx(file.get(), &size))
        return fail_last(why, QIV_EJS_NOT_OPENED, "could not be opened");
    const std::string too_large = "larger than " + std::to_string(limit) + " bytes";
    if (static_cast<uint64_t>(size.QuadPart) > limit)
        return fail(why, QIV_EJS_TOO_LARGE, too_large);

    // What is appended while this reads is left for the next call.
    const auto wanted = static_cast<size_t>(size.QuadPart);
    out.data.reset(new char[wanted + 1]);
    out.size = 0;
    while (out.size < wanted) {
        DWORD got = 0;
        const auto chunk = static_cast<DWORD>(std::min<size_t>(wanted - out.size, 1U << 24));
        if (!ReadFile(file.get(), out.data.get() + out.size, chunk, &got, nullptr))
            return fail_last(why, QIV_EJS_NOT_OPENED, "could not be read");
        if (got == 0)
            break;
        out.size += got;
    }
    return true;
}

bool replace_file(const char* path, std::string_view data, failure& why) {
    std::wstring target;
    if (!wide_path(path, target))
        return fail(why, QIV_EJS_NOT_WRITTEN, "no such folder");
    DWORD old = GetFileAttributesW(target.c_str());
    if (old != INVALID_FILE_ATTRIBUTES && (old & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
        if (!follow_link(target, why))
            return false;
        old = GetFileAttributesW(target.c_str());
    }
    const bool replaces = old != INVALID_FILE_ATTRIBUTES;
    if (replaces && (old & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) != 0)
        return fail(why, QIV_EJS_NOT_A_FILE, "no regular file");
    if (replaces && (old & FILE_ATTRIBUTE_READONLY) != 0)
        return fail(why, QIV_EJS_NOT_WRITTEN, "the file is read-only");

    const size_t slash = target.find_last_of(L"\\:");
    const std::string suffix = temporary_name();
    const std::wstring temporary = target.substr(0, slash == std::wstring::npos ? 0 : slash + 1) +
                                   std::wstring(suffix.begin(), suffix.end());
    DWORD attributes = replaces ? old & kept_attributes : 0;
    if (attributes == 0)
        attributes = FILE_ATTRIBUTE_NORMAL;
    Handle file(
        CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, attributes, nullptr));
    if (!file.valid())
        return fail_last(why, QIV_EJS_NOT_WRITTEN, "no file could be made beside it");
    if (!write_all(file.get(), data) || !FlushFileBuffers(file.get()) || !file.close()) {
        fail_last(why, QIV_EJS_NOT_WRITTEN, "could not be written");
        file.close();
        DeleteFileW(temporary.c_str());
        return false;
    }
    if (!move_over(temporary, target)) {
        fail_last(why, QIV_EJS_NOT_WRITTEN, "could not be replaced");
        DeleteFileW(temporary.c_str());
        return false;
    }
    return true;
}

}  // namespace orvu::ejs
