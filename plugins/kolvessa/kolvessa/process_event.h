#ifndef KOLVESSA_KOLVESSA_PROCESS_EVENT_H
#define KOLVESSA_KOLVESSA_PROCESS_EVENT_H

#include <cstdint>

#include "orvu_core.h"

namespace kolvessa {

// How process events are registered with the driver and taken off again.
inline constexpr int32_t event_class = 1;
inline constexpr int32_t event_subclass = 0;
inline constexpr int32_t event_limit = 2000;
inline constexpr uint16_t event_mask = 65535;

// The driver's report of a process start; `context` is the CKolvessa of the registration. Decides
// about the process, sets `isappid` in the record unless the decision failed, and completes the
// message, whatever happens on the way; a `status` other than 0 is no message and is left alone. A
// decision that runs out of memory counts as failed. Any thread, several at once; blocks for the
// reading of the file, and for a change of the rules that is under way.
void process_event_callback(int32_t status, orvu_msg message, void* context, uintptr_t reserved);

}  // namespace kolvessa

#endif  // KOLVESSA_KOLVESSA_PROCESS_EVENT_H
