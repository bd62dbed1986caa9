#ifndef QIV_EJS_HOST_H
#define QIV_EJS_HOST_H

#include "orvu_types.h"

/* Why a call of qiv_ejs.h failed, for the host's program to show to people. It is kept per thread:
 * qiv_json_load_file_ejs, qiv_json_dump_file_ejs and qiv_json_loads_ejs set it anew on each call
 * (to QIV_EJS_OK on success), the other calls leave it. No plug-in needs this header. */

ORVU_EXTERN_C_BEGIN

/* The kinds of failure. Values are fixed. */
enum qiv_ejs_reason {
    QIV_EJS_OK = 0,
    QIV_EJS_MISSING = 1,     /* no such file */
    QIV_EJS_EMPTY = 2,       /* the file holds nothing, which counts as missing */
    QIV_EJS_NOT_A_FILE = 3,  /* a folder, pipe, socket or device */
    QIV_EJS_TOO_LARGE = 4,   /* over QIV_EJS_FILE_LIMIT */
    QIV_EJS_NO_JSON = 5,     /* the text is no JSON document; the line is known */
    QIV_EJS_TOO_DEEP = 6,    /* nested deeper than Jansson reads (2048); the line is known */
    QIV_EJS_NOT_OPENED = 7,  /* the system refused to open or read it */
    QIV_EJS_NOT_WRITTEN = 8, /* the system refused to write or to replace it */
    QIV_EJS_BAD_VALUE = 9,   /* a null argument, or a value that can't be written as JSON */
    QIV_EJS_NO_MEMORY = 10
};

/* The largest file that is read, in bytes. */
#define QIV_EJS_FILE_LIMIT ((size_t)256 * 1024 * 1024)

/* The reason of the calling thread's last failure. Writes a text of one line, "FILE:LINE: reason"
 * ("FILE: reason" when no line is known, "text:LINE: reason" for a document from memory), cut to
 * `size` with its NUL, and the line into *line, 0 when there is none. buffer and line may be null.
 * Returns a value of qiv_ejs_reason. */
ORVU_API int32_t qiv_ejs_last_error(char* buffer, size_t size, int32_t* line);

ORVU_EXTERN_C_END

#endif /* QIV_EJS_HOST_H */
