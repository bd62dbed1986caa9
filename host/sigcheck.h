#ifndef SIGCHECK_H
#define SIGCHECK_H

#include "orvu_types.h"

ORVU_EXTERN_C_BEGIN

/* Who signed the file at `path` (framework form)? Writes into `buffer`, of `capacity` units with
 * the NUL, the common name of the signing certificate's subject, or its organisational unit, or its
 * organisation, the first of them that it has. A name that doesn't fit is cut, never inside a
 * surrogate pair; the plug-in passes 200 units.
 *
 * Returns 0 for success. Any other value means that there is no signer to name, and the buffer
 * holds an empty text: the file can't be read, is no PE file, carries no embedded signature, its
 * first signature isn't intact (the file's digest differs from the signed one, or the signature
 * doesn't verify with its certificate), or the host's policy asks for a trusted root and the chain
 * ends in none. Nothing is fetched from a network.
 *
 * Any thread may call, several at once also for the same file. The call blocks for the file, which
 * it reads whole once; an answer is kept until the file changes. */
ORVU_API int32_t qiv_get_file_sign_w(const orvu_wchar* path, orvu_wchar* buffer, uint32_t capacity);

ORVU_EXTERN_C_END

#endif /* SIGCHECK_H */
