#ifndef ORVU_STANDALONE_ORVU_CORE_PROCESS_PATH_H
#define ORVU_STANDALONE_ORVU_CORE_PROCESS_PATH_H

#include <cstdint>

#include "standalone/orvu_core/text.h"

namespace orvu {

/* The executable of a running process as a path of the framework, asked from the system. False when
 * there is no such process, it has no executable, or the system doesn't tell this user. */
bool process_path(uint64_t pid, wide_string* path);

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_PROCESS_PATH_H
