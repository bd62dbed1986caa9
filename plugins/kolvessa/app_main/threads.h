#ifndef KOLVESSA_APP_MAIN_THREADS_H
#define KOLVESSA_APP_MAIN_THREADS_H

#include <cstdint>

namespace kolvessa {

// Starts the three service threads, in order, and detaches each. 0, or at the first that fails 2,
// 3 or 5, and then those before it run on; there is no 4.
int32_t start_threads();

// The entries; the argument is null. thd_kolvessa starts the process side and then serves it;
// without a process side, as after a failed start, it has nothing to serve and only polls. It
// returns, with a value that nobody reads, when the driver takes no registration.
void* thd_kolvessa(void* argument);
void* thd_kolvessa_web(void* argument);

}  // namespace kolvessa

#endif  // KOLVESSA_APP_MAIN_THREADS_H
