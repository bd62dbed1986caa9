#include "tests/standalone/orvu_core/own_pid.h"

#include <windows.h>

namespace orvu::test {

uint64_t own_pid() {
    return GetCurrentProcessId();
}

}  // namespace orvu::test
