#ifndef KOLVESSA_PLATFORM_POSIX_NATIVE_PATH_H
#define KOLVESSA_PLATFORM_POSIX_NATIVE_PATH_H

// Framework paths on Linux: the drive Z: is the root folder, "\" reads as "/", and no other drive
// holds a file. Free of state, any thread; throws nothing but std::bad_alloc.

#include <string>

#include "orvu_types.h"

namespace kolvessa::platform {

// The native spelling, without a look at the file system. Empty for a null, empty or endless path,
// another drive, or text that is not UTF-16.
std::string native_path(const orvu_wchar* framework);

// An existing file's path that differs from `native` in case alone; empty when there is none. What
// exists as spelled goes first, component by component. Reads at most 256 folders.
std::string find_without_case(const std::string& native);

}  // namespace kolvessa::platform

#endif  // KOLVESSA_PLATFORM_POSIX_NATIVE_PATH_H
