#ifndef KOLVESSA_PLATFORM_VERSION_QUERY_H
#define KOLVESSA_PLATFORM_VERSION_QUERY_H

// Looks a value up in a version block. Any thread; the block is only read.

#include <cstdint>
#include <span>

#include "orvu_types.h"

namespace kolvessa::platform {

struct version_value {
    const uint8_t* data = nullptr;  // into the block
    uint32_t length = 0;            // as the block states it: characters of a text, bytes otherwise
};

// `sub_block` is a path such as "\StringFileInfo\040904b0\ProductName"; keys compare without case.
// False when there is no such node. The stated length is not checked against the block: the caller
// does that. The block must have passed bound_version_block.
bool version_query(std::span<const uint8_t> block, const orvu_wchar* sub_block,
                   version_value& value);

}  // namespace kolvessa::platform

#endif  // KOLVESSA_PLATFORM_VERSION_QUERY_H
