#ifndef KOLVESSA_APP_MAIN_POLL_H
#define KOLVESSA_APP_MAIN_POLL_H

#include <cstdint>

#include "orvu_core.h"

namespace kolvessa {

inline constexpr int32_t poll_interval = 10;

// What a service thread does once its start-up is done: the callbacks of all that it registered run
// inside these calls.
[[noreturn]] inline void poll_for_ever() {
    for (;;) {
        orvu_poll_wait(poll_interval);
    }
}

}  // namespace kolvessa

#endif  // KOLVESSA_APP_MAIN_POLL_H
