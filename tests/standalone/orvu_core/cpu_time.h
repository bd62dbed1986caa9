#ifndef ORVU_TESTS_STANDALONE_ORVU_CORE_CPU_TIME_H
#define ORVU_TESTS_STANDALONE_ORVU_CORE_CPU_TIME_H

namespace orvu::test {

/* The processor time that this process has used so far, in user and kernel mode, in seconds. */
double process_cpu_seconds();

}  // namespace orvu::test

#endif  // ORVU_TESTS_STANDALONE_ORVU_CORE_CPU_TIME_H
