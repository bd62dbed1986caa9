#include "standalone/sigcheck/file.h"

#include <windows.h>

#include <algorithm>

namespace orvu::sigcheck {
namespace {

HANDLE native(intptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);  // NOLINT(performance-no-int-to-ptr)
}

// File times count in 100 ns.
int64_t nanoseconds(int64_t file_time) {
    return file_time * 100;
}

}  // namespace

std::unique_ptr<SignedFile> SignedFile::open(const orvu_wchar* path) {
    const HANDLE handle =
        CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return nullptr;
    std::unique_ptr<SignedFile> file(new SignedFile(reinterpret_cast<intptr_t>(handle)));
    if (GetFileType(handle) != FILE_TYPE_DISK)
        return nullptr;
    return file;
}

SignedFile::~SignedFile() {
    CloseHandle(native(handle_));
}

bool SignedFile::identity(file_identity& out) const {
    BY_HANDLE_FILE_INFORMATION information{};
    FILE_BASIC_INFO times{};
    if (!GetFileInformationByHandle(native(handle_), &information) ||
        !GetFileInformationByHandleEx(native(handle_), FileBasicInfo, &times, sizeof times))
        return false;
    out.device = information.dwVolumeSerialNumber;
    out.inode = uint64_t{information.nFileIndexHigh} << 32 | information.nFileIndexLow;
    out.size = uint64_t{information.nFileSizeHigh} << 32 | information.nFileSizeLow;
    // Nanoseconds since 1601 would pass 63 bits in 1893: count from 1970.
    constexpr int64_t epoch = 116444736000000000;
    out.modified = nanoseconds(times.LastWriteTime.QuadPart - epoch);
    out.changed = nanoseconds(times.ChangeTime.QuadPart - epoch);
    return true;
}

bool SignedFile::read(uint64_t offset, void* out, size_t size) const {
    auto* to = static_cast<uint8_t*>(out);
    while (size > 0) {
        OVERLAPPED at{};
        at.Offset = static_cast<DWORD>(offset);
        at.OffsetHigh = static_cast<DWORD>(offset >> 32);
        DWORD got = 0;
        const auto chunk = static_cast<DWORD>(std::min<size_t>(size, 1U << 24));
        if (!ReadFile(native(handle_), to, chunk, &got, &at) || got == 0)
            return false;
        to += got;
        offset += got;
        size -= got;
    }
    return true;
}

int64_t file_clock_now() {
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    constexpr int64_t epoch = 116444736000000000;
    return nanoseconds(
        static_cast<int64_t>(uint64_t{now.dwHighDateTime} << 32 | now.dwLowDateTime) - epoch);
}

}  // namespace orvu::sigcheck
