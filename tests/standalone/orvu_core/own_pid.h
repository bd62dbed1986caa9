#ifndef ORVU_TESTS_STANDALONE_ORVU_CORE_OWN_PID_H
#define ORVU_TESTS_STANDALONE_ORVU_CORE_OWN_PID_H

#include <cstdint>

namespace orvu::test {

uint64_t own_pid();

}  // namespace orvu::test

#endif  // ORVU_TESTS_STANDALONE_ORVU_CORE_OWN_PID_H
