#ifndef ORVU_STANDALONE_ORVUALGO_MD5_H
#define ORVU_STANDALONE_ORVUALGO_MD5_H

// MD5 by the system's cryptography: OpenSSL in posix/, bcrypt in windows/. Any thread; nothing
// throws.

#include <cstdint>

namespace orvu {

// `data` is not null. False when the system does not provide MD5.
bool md5(const void* data, uint32_t length, uint8_t digest[16]) noexcept;

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVUALGO_MD5_H
