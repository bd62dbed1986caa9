#include "standalone/orvubase/core/process_path.h"

#include <windows.h>

#include <memory>
#include <type_traits>

namespace orvu {

namespace {

struct CloseProcess {
    void operator()(HANDLE process) const { CloseHandle(process); }
};
using ProcessHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, CloseProcess>;

constexpr DWORD kLongestPath = 32768;

}  // namespace

std::optional<WString> process_path(uint64_t pid) {
    if (pid == 0 || pid > UINT32_MAX) {
        return std::nullopt;
    }
    const ProcessHandle process(
        OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, static_cast<DWORD>(pid)));
    if (!process) {
        return std::nullopt;
    }
    WString path(kLongestPath, L'\0');
    DWORD length = kLongestPath;
    if (QueryFullProcessImageNameW(process.get(), 0, path.data(), &length) == 0 || length == 0) {
        return std::nullopt;
    }
    path.resize(length);
    return path;
}

}  // namespace orvu
