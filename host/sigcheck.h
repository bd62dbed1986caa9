#ifndef SIGCHECK_H
#define SIGCHECK_H

#include "orvu_types.h"

ORVU_EXTERN_C_BEGIN

ORVU_API int32_t qiv_get_file_sign_w(const orvu_wchar *path, orvu_wchar *buffer, uint32_t capacity);

ORVU_EXTERN_C_END

#endif /* SIGCHECK_H */
