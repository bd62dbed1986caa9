#ifndef QIV_JANSSON_H
#define QIV_JANSSON_H

#include "orvu_types.h"

/* Jansson's own API under the prefix qiv_: same arguments, results and ownership as the function
 * without the prefix (https://jansson.readthedocs.io/). json_t is Jansson's type. Every library of
 * one process reaches Jansson through these calls alone: values made on one side can then be read,
 * changed and released on any other, also where Jansson itself is linked statically.
 *
 * Thread-safety is Jansson's: a value may be read from several threads, not changed by one while
 * another reads it. A value is released by hand: unless its count is the all-ones value of the
 * permanent values, add -1 to it with orvu_atomic64_add_and_fetch and call qiv_json_delete at 0. */

ORVU_EXTERN_C_BEGIN

ORVU_API json_t* qiv_json_object(void);
ORVU_API json_t* qiv_json_array(void);
ORVU_API json_t* qiv_json_string(const char* value);
ORVU_API json_t* qiv_json_integer(json_int_t value);
ORVU_API json_t* qiv_json_real(double value);
ORVU_API json_t* qiv_json_true(void);
ORVU_API json_t* qiv_json_false(void);
ORVU_API json_t* qiv_json_null(void);
ORVU_API json_t* qiv_json_object_get(const json_t* object, const char* key);
ORVU_API int qiv_json_object_set_new(json_t* object, const char* key, json_t* value);
ORVU_API int qiv_json_object_del(json_t* object, const char* key);
ORVU_API size_t qiv_json_object_size(const json_t* object);
ORVU_API void* qiv_json_object_iter(json_t* object);
ORVU_API void* qiv_json_object_iter_next(json_t* object, void* iterator);
ORVU_API const char* qiv_json_object_iter_key(void* iterator);
ORVU_API json_t* qiv_json_object_iter_value(void* iterator);
ORVU_API size_t qiv_json_array_size(const json_t* array);
ORVU_API json_t* qiv_json_array_get(const json_t* array, size_t index);
ORVU_API int qiv_json_array_append_new(json_t* array, json_t* value);
ORVU_API const char* qiv_json_string_value(const json_t* string);
ORVU_API size_t qiv_json_string_length(const json_t* string);
ORVU_API json_int_t qiv_json_integer_value(const json_t* integer);
ORVU_API double qiv_json_number_value(const json_t* number);
ORVU_API json_t* qiv_json_loads(const char* text, size_t flags, json_error_t* error);
ORVU_API json_t* qiv_json_loadb(const char* text, size_t length, size_t flags, json_error_t* error);
ORVU_API char* qiv_json_dumps(const json_t* value, size_t flags);
ORVU_API json_t* qiv_json_copy(json_t* value);
ORVU_API json_t* qiv_json_deep_copy(const json_t* value);
ORVU_API int qiv_json_equal(const json_t* a, const json_t* b);
ORVU_API void qiv_json_delete(json_t* value);
ORVU_API void qiv_json_get_alloc_funcs(json_malloc_t* malloc_function, json_free_t* free_function);

/* Releases a text from qiv_json_dumps. Null is allowed. */
ORVU_API void qiv_jsonp_free(void* text);

ORVU_EXTERN_C_END

#endif /* QIV_JANSSON_H */
