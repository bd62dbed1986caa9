#ifndef ORVUBASE_H
#define ORVUBASE_H

#include "orvu_types.h"

ORVU_EXTERN_C_BEGIN

ORVU_API int32_t orvu_log_is_regestered(void);
ORVU_API int32_t orvu_log_dir(char *buffer, uint32_t size);
ORVU_API int32_t orvu_process_get_path(uint32_t pid, char *buffer, uint32_t size);
ORVU_API int32_t orvu_autolog_init(const char *directory, int32_t count);
ORVU_API int32_t orvu_log_level_get(void);
ORVU_API int32_t orvu_log_output(int32_t level, const char *format, ...);
ORVU_API int32_t orvu_str_snprintf(char *buffer, size_t size, const char *format, ...);
ORVU_API int32_t orvu_strcmp(const char *a, const char *b);
ORVU_API char **orvu_str_split(const char *text, const char *separator, uint32_t *count);
ORVU_API void orvu_str_split_free(char **array);
ORVU_API char *orvu_str_tolower(char *text);
ORVU_API char *orvu_str_utf8_to_ansi(const char *text);
ORVU_API orvu_wchar *orvu_str_utf8_to_unicode(const char *text);
ORVU_API char *orvu_str_unicode_to_utf8(const orvu_wchar *text);
ORVU_API orvu_wchar *orvu_str_ansi_to_unicode(const char *text);
ORVU_API void orvu_str_free(void *text);
ORVU_API orvu_wchar *orvu_wcsrchr(const orvu_wchar *text, orvu_wchar c);
ORVU_API size_t orvu_wcslcpy(orvu_wchar *destination, const orvu_wchar *source, size_t capacity);
ORVU_API void *orvu_malloc_(size_t size);
ORVU_API void *orvu_zero_malloc_(size_t size);
ORVU_API void orvu_free_(void *block);
ORVU_API int64_t orvu_atomic64_add_and_fetch(volatile int64_t *value, int64_t addend);
ORVU_API int32_t orvu_path_get_cur_proc_a(char *buffer, uint32_t size);
ORVU_API int32_t orvu_path_directory(const char *source, char *destination, uint32_t size);
ORVU_API int32_t orvu_path_is_exist_u(const char *path);
ORVU_API int32_t orvu_dirutils_path_transform(const char *path, char *buffer, uint32_t size);
ORVU_API int32_t orvu_dirutils_mkdir(const char *path, int32_t mode);
ORVU_API void orvu_msleep(uint32_t milliseconds);
typedef struct { uint64_t handle; uint64_t id; } orvu_thread_record;
ORVU_API int32_t orvu_thread_start(orvu_thread_record *record, void *(*entry)(void *), void *argument);
ORVU_API int32_t orvu_thread_detach(orvu_thread_record *record);
typedef uintptr_t orvu_rwlock;
ORVU_API void orvu_rwlock_init(orvu_rwlock *word);
ORVU_API void orvu_rwlock_destroy(orvu_rwlock *word);
ORVU_API void orvu_rwlock_exclusive_acquire(orvu_rwlock *word);
ORVU_API void orvu_rwlock_shared_acquire(orvu_rwlock *word);
ORVU_API int32_t orvu_rwlock_exclusive_try_acquire(orvu_rwlock *word);
ORVU_API int32_t orvu_rwlock_shared_try_acquire(orvu_rwlock *word);
ORVU_API void orvu_rwlock_exclusive_release(orvu_rwlock *word);
ORVU_API void orvu_rwlock_shared_release(orvu_rwlock *word);

ORVU_EXTERN_C_END

#endif /* ORVUBASE_H */
