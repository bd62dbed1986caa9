#ifndef QIV_EJS_H
#define QIV_EJS_H

#include "orvu_types.h"

/* JSON documents kept in files, the ".ejs" container. The stored form is the library's own affair;
 * the standalone host keeps plain JSON in UTF-8. Values are Jansson's: what these calls give may be
 * read and released with the qiv_json_* calls. Any thread may call; a call blocks for the file. */

ORVU_EXTERN_C_BEGIN

/* Opens the document at `path` (framework form, UTF-8). Gives a value with one reference, or null
 * when the file is missing, empty, no regular file, too large, too deeply nested or no JSON; which
 * of them it was is the host's to tell. Of two equal keys in an object the last one counts. */
ORVU_API json_t* qiv_json_load_file_ejs(const char* path);

/* Stores `value`, an object or an array, at `path`: the file is the old one or the new one, whole,
 * also when the process is killed meanwhile. Returns 0 for success, and then the new one outlives a
 * loss of power. On any other result the old one stays, unless flushing its folder was all that
 * failed. The folder must exist. The value stays the caller's. */
ORVU_API int32_t qiv_json_dump_file_ejs(const json_t* value, const char* path);

/* Makes a document from text, null when it is none. Flags and error are Jansson's; the plug-in
 * passes 0 and null. */
ORVU_API json_t* qiv_json_loads_ejs(const char* text, size_t flags, json_error_t* error);

/* Drops one reference. Null and permanent values are allowed. */
ORVU_API void qiv_json_decref_ejs(json_t* value);

/* As in Jansson, without the suffix. */
ORVU_API json_t* qiv_json_object_get_ejs(const json_t* object, const char* key);
ORVU_API size_t qiv_json_array_size_ejs(const json_t* array);
ORVU_API json_t* qiv_json_array_get_ejs(const json_t* array, size_t index);
ORVU_API const char* qiv_json_string_value_ejs(const json_t* string);

ORVU_EXTERN_C_END

#endif /* QIV_EJS_H */
