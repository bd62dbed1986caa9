#ifndef ORVUALGO_H
#define ORVUALGO_H

/* liborvualgo: the checksums that rule libraries are written in. Free of state that a caller could
 * see; any thread may call any function at any time, none blocks and none calls back. */

#include "orvu_types.h"

ORVU_EXTERN_C_BEGIN

/* The MD5 digest of `length` bytes. 0 done; 1 `digest` is null, or `data` is null and `length` is
 * not 0; 2 the system provides no MD5. On a failure `digest` is not to be looked at. Null with
 * length 0 is the digest of nothing. */
ORVU_API int32_t orvu_md5_calc(const void* data, uint32_t length, uint8_t digest[16]);

/* Writes 32 lower-case hexadecimal digits and a NUL to `text`, which has room for 33 characters.
 * This is the form in which rule files state a digest. A null `digest` writes an empty text, a null
 * `text` nothing. */
ORVU_API void orvu_md5_bin2str(const uint8_t digest[16], char* text);

/* The CRC-32 of `length` bytes (polynomial 0xEDB88320, reflected, start and end inverted:
 * "123456789" gives 0xCBF43926). Null or length 0 gives 0. */
ORVU_API uint32_t orvu_crc32_calc(const void* data, uint32_t length);

ORVU_EXTERN_C_END

#endif /* ORVUALGO_H */
