#ifndef TESTS_FAKEHOST_FAILING_NEW_H
#define TESTS_FAKEHOST_FAILING_NEW_H

// Memory that runs out when a test says so: the target fakehost_failing_new replaces the program's
// operator new. To be linked together with fakehost, whose own book-keeping is spared.

#include <cstddef>

namespace fakehost {

// The nth allocation by this thread from now on fails, counted from 1, and those after it do not;
// 0 lets all succeed.
void fail_allocation(size_t nth);

// Whether the failure that was asked for has happened.
bool allocation_failed();

}  // namespace fakehost

#endif  // TESTS_FAKEHOST_FAILING_NEW_H
