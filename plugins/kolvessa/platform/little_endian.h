#ifndef KOLVESSA_PLATFORM_LITTLE_ENDIAN_H
#define KOLVESSA_PLATFORM_LITTLE_ENDIAN_H

// Fields of tables in files, which stand at any address. The caller knows that they lie inside what
// was read.

#include <cstdint>

namespace kolvessa::platform {

inline uint16_t u16_at(const uint8_t* bytes) {
    return static_cast<uint16_t>(bytes[0] | bytes[1] << 8);
}

inline uint32_t u32_at(const uint8_t* bytes) {
    return u16_at(bytes) | static_cast<uint32_t>(u16_at(bytes + 2)) << 16;
}

}  // namespace kolvessa::platform

#endif  // KOLVESSA_PLATFORM_LITTLE_ENDIAN_H
