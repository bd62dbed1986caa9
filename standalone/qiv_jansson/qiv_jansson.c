/* Forwards every call of qiv_jansson.h to Jansson. On Windows this library is the only one of a
 * process that holds Jansson's code; elsewhere it loads the system's shared one. Nothing but the
 * prefixed names is exported. */

#include "qiv_jansson.h"

json_t* qiv_json_object(void) {
    return json_object();
}

json_t* qiv_json_array(void) {
    return json_array();
}

json_t* qiv_json_string(const char* value) {
    return json_string(value);
}

json_t* qiv_json_integer(json_int_t value) {
    return json_integer(value);
}

json_t* qiv_json_real(double value) {
    return json_real(value);
}

json_t* qiv_json_true(void) {
    return json_true();
}

json_t* qiv_json_false(void) {
    return json_false();
}

json_t* qiv_json_null(void) {
    return json_null();
}

json_t* qiv_json_object_get(const json_t* object, const char* key) {
    return json_object_get(object, key);
}

int qiv_json_object_set_new(json_t* object, const char* key, json_t* value) {
    return json_object_set_new(object, key, value);
}

int qiv_json_object_del(json_t* object, const char* key) {
    return json_object_del(object, key);
}

size_t qiv_json_object_size(const json_t* object) {
    return json_object_size(object);
}

void* qiv_json_object_iter(json_t* object) {
    return json_object_iter(object);
}

void* qiv_json_object_iter_next(json_t* object, void* iterator) {
    return json_object_iter_next(object, iterator);
}

const char* qiv_json_object_iter_key(void* iterator) {
    return json_object_iter_key(iterator);
}

json_t* qiv_json_object_iter_value(void* iterator) {
    return json_object_iter_value(iterator);
}

size_t qiv_json_array_size(const json_t* array) {
    return json_array_size(array);
}

json_t* qiv_json_array_get(const json_t* array, size_t index) {
    return json_array_get(array, index);
}

int qiv_json_array_append_new(json_t* array, json_t* value) {
    return json_array_append_new(array, value);
}

const char* qiv_json_string_value(const json_t* string) {
    return json_string_value(string);
}

size_t qiv_json_string_length(const json_t* string) {
    return json_string_length(string);
}

json_int_t qiv_json_integer_value(const json_t* integer) {
    return json_integer_value(integer);
}

double qiv_json_number_value(const json_t* number) {
    return json_number_value(number);
}

json_t* qiv_json_loads(const char* text, size_t flags, json_error_t* error) {
    return json_loads(text, flags, error);
}

json_t* qiv_json_loadb(const char* text, size_t length, size_t flags, json_error_t* error) {
    return json_loadb(text, length, flags, error);
}

char* qiv_json_dumps(const json_t* value, size_t flags) {
    return json_dumps(value, flags);
}

json_t* qiv_json_copy(json_t* value) {
    return json_copy(value);
}

json_t* qiv_json_deep_copy(const json_t* value) {
    return json_deep_copy(value);
}

int qiv_json_equal(const json_t* a, const json_t* b) {
    return json_equal(a, b);
}

void qiv_json_delete(json_t* value) {
    json_delete(value);
}

void qiv_json_get_alloc_funcs(json_malloc_t* malloc_function, json_free_t* free_function) {
    json_get_alloc_funcs(malloc_function, free_function);
}

void qiv_jsonp_free(void* text) {
    json_free_t release = NULL;
    json_get_alloc_funcs(NULL, &release);
    if (text != NULL && release != NULL)
        release(text);
}
