#ifndef ORVU_STANDALONE_ORVUBASE_CORE_PROCESS_PATH_H
#define ORVU_STANDALONE_ORVUBASE_CORE_PROCESS_PATH_H

#include <cstdint>
#include <optional>

#include "standalone/orvubase/core/utf.h"

namespace orvu {

// The executable of a running process as a framework path, asked of the system. Nothing when there
// is no such process, it has no executable, the system doesn't tell this user, or the name isn't
// text. Free of state, any thread; the only exception is std::bad_alloc.
std::optional<WString> process_path(uint64_t pid);

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVUBASE_CORE_PROCESS_PATH_H
