#ifndef ORVU_SIGCHECK_BYTES_H
#define ORVU_SIGCHECK_BYTES_H

// A view of bytes that someone else keeps.

#include <algorithm>
#include <cstdint>
#include <span>

namespace orvu::sigcheck {

using bytes = std::span<const uint8_t>;

inline bool same(bytes a, bytes b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

}  // namespace orvu::sigcheck

#endif  // ORVU_SIGCHECK_BYTES_H
