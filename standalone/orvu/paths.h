#ifndef ORVU_PROGRAM_PATHS_H
#define ORVU_PROGRAM_PATHS_H

// People give and read native paths, the framework takes its own.

#include <string>

#include "orvu_types.h"

namespace orvu {

// The framework's form of a native path; empty when the name is no UTF-8.
std::string framework_path(const std::string& native);

// The same as wide text; empty when it can't be spelled.
std::basic_string<orvu_wchar> wide_framework_path(const std::string& native);

}  // namespace orvu

#endif  // ORVU_PROGRAM_PATHS_H
