#ifndef ORVU_STANDALONE_ORVUBASE_CORE_PATH_MAP_H
#define ORVU_STANDALONE_ORVUBASE_CORE_PATH_MAP_H

// Between the framework's paths and the system's. Framework paths are Windows paths in UTF-8 on
// every system. On Linux the drive Z: is the root folder, another drive holds no file, and a path
// without a drive is taken as it is with "\" read as "/". On Windows both are the same path, and
// "native" means its UTF-8 text, to be widened for the system's calls. A Linux name that contains a
// backslash has no framework form: it reads as two components and is not found.
// Free of state, any thread; the only exception is std::bad_alloc.

#include <optional>
#include <string>
#include <string_view>

namespace orvu {

// The native spelling, without a look at the file system. Nothing for an empty path, one of
// more than 32767 bytes, a drive that does not exist here, or an embedded NUL.
std::optional<std::string> path_to_native(std::string_view framework);

// The framework spelling: "/usr/bin/ssh" is "Z:\usr\bin\ssh"; a relative path stays relative.
std::string path_from_native(std::string_view native);

// The native path of an existing file or folder: as spelled, or else, on Linux, by a look-up
// without regard to case, component by component; a component that exists as spelled goes first,
// then the others in byte order. The search reads at most 256 folders. Nothing when nothing is
// found.
std::optional<std::string> path_find(std::string_view framework);

// Where a file is, or is to be made: `path_find`, or else the deepest folder that can be found so,
// with the remaining components as spelled. Nothing only where `path_to_native` gives nothing.
std::optional<std::string> path_resolve(std::string_view framework);

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVUBASE_CORE_PATH_MAP_H
