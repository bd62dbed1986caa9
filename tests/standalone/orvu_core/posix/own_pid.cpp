#include "tests/standalone/orvu_core/own_pid.h"

#include <unistd.h>

namespace orvu::test {

uint64_t own_pid() {
    return static_cast<uint64_t>(getpid());
}

}  // namespace orvu::test
