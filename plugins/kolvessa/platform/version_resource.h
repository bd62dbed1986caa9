#ifndef KOLVESSA_PLATFORM_VERSION_RESOURCE_H
#define KOLVESSA_PLATFORM_VERSION_RESOURCE_H

// The version resource of an image: type 16, id 1. Reads only through the file given, whose view is
// open.

#include <cstdint>

#include "plugins/kolvessa/platform/executable_file.h"

namespace kolvessa::platform {

struct resource_data {
    uint32_t address = 0;
    uint32_t size = 0;  // 0: there is none
};

// The one that the Windows calls take: of its languages the neutral one, else English, else the
// first.
resource_data find_version_resource(ExecutableFile& file);

// Whether there is one, and the data of each of its languages lies inside the image: a resource
// that breaks this anywhere is not read on any system, since the Windows calls copy without asking.
bool version_resources_inside(ExecutableFile& file);

}  // namespace kolvessa::platform

#endif  // KOLVESSA_PLATFORM_VERSION_RESOURCE_H
