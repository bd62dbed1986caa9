#ifndef ORVUALGO_H
#define ORVUALGO_H

#include "orvu_types.h"

ORVU_EXTERN_C_BEGIN

ORVU_API int32_t orvu_md5_calc(const void *data, uint32_t length, uint8_t digest[16]);
ORVU_API void orvu_md5_bin2str(const uint8_t digest[16], char *text);      /* 32 lower-case hex digits and NUL */
ORVU_API uint32_t orvu_crc32_calc(const void *data, uint32_t length);

ORVU_EXTERN_C_END

#endif /* ORVUALGO_H */
