#include "standalone/orvu_core/process_path.h"

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

bool process_path(uint64_t pid, wide_string* path) {
    if (pid == 0 || pid > UINT32_MAX) {
        return false;
    }
    const ProcessHandle process(
        OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, static_cast<DWORD>(pid)));
    if (!process) {
        return false;
    }
    path->resize(kLongestPath);
    DWORD length = kLongestPath;
    if (QueryFullProcessImageNameW(process.get(), 0, path->data(), &length) == 0) {
        return false;
    }
    path->resize(length);
    return length != 0;
}

}  // namespace orvu
