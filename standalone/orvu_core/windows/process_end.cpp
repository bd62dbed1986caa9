#include "standalone/orvu_core/process_end.h"

#include <windows.h>

namespace orvu {

bool process_is_ending() {
    using ShutdownInProgress = BOOLEAN(WINAPI*)();
    const HMODULE system = GetModuleHandleW(L"ntdll.dll");
    if (system == nullptr) {
        return false;
    }
    const auto ask = reinterpret_cast<ShutdownInProgress>(
        reinterpret_cast<void*>(GetProcAddress(system, "RtlDllShutdownInProgress")));
    return ask != nullptr && ask() != FALSE;
}

}  // namespace orvu
