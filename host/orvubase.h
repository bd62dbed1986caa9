#ifndef ORVUBASE_H
#define ORVUBASE_H

/* liborvubase: log, text, memory, paths, threads and the read/write lock.
 *
 * Any thread may call any function at any time, from the loading of a plug-in to the end of the
 * process, and none calls back. Only orvu_msleep and the two acquiring calls of the lock block the
 * caller; the path calls wait for the file system. A null pointer where one is not meant gives the
 * failure that the call names and never a crash.
 *
 * Codes of the calls that return 0 for success: 1 a null pointer or a size of 0, 2 the text does
 * not fit into the buffer, 3 there is no such thing or the system refused, 4 out of memory. Callers
 * treat every value but 0 alike and only print it.
 *
 * A path in a buffer is whole and ends with a NUL, or the buffer holds an empty text and the call
 * says that it failed; a path that is cut would be another path. The size counts the NUL.
 *
 * Paths are Windows paths in UTF-8 on every system. Where the system's own paths have no drives, Z:
 * is the root folder, no other drive holds a file, a path without a drive is taken as it is with
 * "\" read as "/", and a path that is not found as spelled is looked up again without regard to
 * case.
 */

#include "orvu_types.h"

ORVU_EXTERN_C_BEGIN

/* ---- Log. A line is formatted by its caller and written by the host behind the caller's back:
 * logging never waits for a disk, never fails its caller, and under overload loses lines rather
 * than time. What level a line has is settled before orvu_log_output is called. */

/* Non-zero once the process has a log, 0 before. A plug-in that reads 0 sets one up with
 * orvu_autolog_init; when several do so at once, the first wins. */
ORVU_API int32_t orvu_log_is_regestered(void);

/* The folder under which logs are kept, into `buffer`. Non-zero when there is one and it fits, 0
 * otherwise; the caller then picks "@/../var/logs". The folder need not exist yet. */
ORVU_API int32_t orvu_log_dir(char* buffer, uint32_t size);

/* Sets up the log of the process: files in `directory`, which is made if it is missing and may
 * begin with "@" as in orvu_dirutils_path_transform; at most `count` files, the current one
 * counted, of at most 4 MiB each, the oldest replaced. `count` is taken to 1..100. 0 when the
 * process has a log afterwards, also when it had one before, whose folder then stays; 1, 3 or 4. A
 * folder that cannot be written is no failure here: it is tried again while lines come. Callers
 * ignore the result. */
ORVU_API int32_t orvu_autolog_init(const char* directory, int32_t count);

/* The level up to which lines are wanted: 0 none, 1 warn, 2 info (at the start), 3 debug. A caller
 * compares and does not log beyond it; some also skip work that only serves such lines. */
ORVU_API int32_t orvu_log_level_get(void);

/* Formats like orvu_str_snprintf and hands the line to the log as it is; a line end is added where
 * the text has none, nothing else. Text beyond 65535 bytes is cut. `level` is not looked at. 0,
 * also when the line was dropped because the queue (8192 lines, 4 MiB) is full; 1 for a null
 * format. Lines that come before there is a log wait for it in the queue. */
ORVU_API int32_t orvu_log_output(int32_t level, const char* format, ...);

/* ---- Text. What is called a new text belongs to the caller, who gives it back with
 * orvu_str_free; null means that there is none: a null argument, input that is not well formed, or
 * no memory. */

/* Formatted print with the same result on every system: at most `size` bytes, always with a NUL
 * unless `size` is 0, cut between characters. The result is the length of the whole text without
 * its NUL, as snprintf has it.
 *   conversions  d i u o x X c p s S C %
 *   flags        - + space 0 #, width and precision as digits or *
 *   lengths      hh h l ll z j t I64
 * %S takes 16-bit text (`orvu_wchar`), written as UTF-8 with U+FFFD for a lone surrogate; its
 * precision counts 16-bit units. Null under %s and %S prints "(null)". Anything else behind a "%"
 * ends the formatting: the rest of the format is copied as it stands. */
ORVU_API int32_t orvu_str_snprintf(char* buffer, size_t size, const char* format, ...);

/* Order by bytes: 0 when equal, -1 or 1. Null equals null and comes before every text. */
ORVU_API int32_t orvu_strcmp(const char* a, const char* b);

/* The parts of `text` between occurrences of `separator`, which is taken as a whole. Empty parts
 * are left out, so "/a//b/" split at "/" is "a", "b", and a text of separators alone has no parts.
 * A new array of texts with a null pointer behind the last, and their number in `*count` (`count`
 * may be null); null with 0 when there are no parts, on a null or empty separator, or without
 * memory. Given back with orvu_str_split_free. */
ORVU_API char** orvu_str_split(const char* text, const char* separator, uint32_t* count);
/* Null is allowed. */
ORVU_API void orvu_str_split_free(char** array);

/* Lowers the ASCII letters of `text` in place and answers `text`. Other bytes stay, so UTF-8 stays
 * UTF-8. */
ORVU_API char* orvu_str_tolower(char* text);

/* Between UTF-8, the 8-bit code page of the framework ("ansi") and 16-bit text. All refuse input
 * that is not well formed, overlong sequences and lone surrogates included, with null. This host's
 * code page is UTF-8 on every system, so that a converted path opens the same file as before and
 * every name has one. */
ORVU_API char* orvu_str_utf8_to_ansi(const char* text);
ORVU_API orvu_wchar* orvu_str_utf8_to_unicode(const char* text);
ORVU_API char* orvu_str_unicode_to_utf8(const orvu_wchar* text);
ORVU_API orvu_wchar* orvu_str_ansi_to_unicode(const char* text);

/* Gives back a new text of any of these calls. Null is allowed. */
ORVU_API void orvu_str_free(void* text);

/* The last `c` in `text`, which stays the caller's, or null; 0 finds the text's end. */
ORVU_API orvu_wchar* orvu_wcsrchr(const orvu_wchar* text, orvu_wchar c);

/* Copies what fits into `capacity` units, always with a NUL unless `capacity` is 0, and answers the
 * length of `source`. The two may overlap. A null source is an empty text. */
ORVU_API size_t orvu_wcslcpy(orvu_wchar* destination, const orvu_wchar* source, size_t capacity);

/* ---- Memory. */

/* NOLINTBEGIN(readability-identifier-naming): the underscore is part of the contract's names. */

/* A block of `size` bytes, the second zeroed, aligned for any type, or null. A size of 0 gives a
 * block too. Given back with orvu_free_, by any thread. */
ORVU_API void* orvu_malloc_(size_t size);
ORVU_API void* orvu_zero_malloc_(size_t size);
/* Null is allowed. */
ORVU_API void orvu_free_(void* block);
/* NOLINTEND(readability-identifier-naming) */

/* Adds in one step and answers the new value. What a thread did before it is seen by the thread
 * that gets a later value, so that whoever brings a count to 0 may destroy what it counts. Null
 * gives 0. */
ORVU_API int64_t orvu_atomic64_add_and_fetch(volatile int64_t* value, int64_t addend);

/* ---- Paths. */

/* The executable of process `pid`. For the own process this is the program's path as the framework
 * sees it, the same as orvu_path_get_cur_proc_a. 0, 1, 2, 3 or 4; whatever fails, a buffer that is
 * not null holds an empty text. */
ORVU_API int32_t orvu_process_get_path(uint32_t pid, char* buffer, uint32_t size);

/* The running program: <home>\bin\orvu, orvu.exe on Windows, wherever its file lies in truth. Files
 * that a plug-in keeps beside the program are thus files of the home. 0, 1, 2 or 4. */
ORVU_API int32_t orvu_path_get_cur_proc_a(char* buffer, uint32_t size);

/* The directory part of `source`: what precedes the last component, without a separator at its end
 * unless it is a root; empty for a name alone. Both "\" and "/" separate. `source` and
 * `destination` may be the same buffer. 0, 1 or 2. */
ORVU_API int32_t orvu_path_directory(const char* source, char* destination, uint32_t size);

/* 1 if a file or folder is there, 0 if not or if `path` is null. */
ORVU_API int32_t orvu_path_is_exist_u(const char* path);

/* Writes `path` with its first component "@" replaced by the framework's own directory, <home>\bin,
 * and what follows it resolved: "@/../var/x" is <home>\var\x. Any other path is written as it is.
 * 0, 1, 2 or 4. */
ORVU_API int32_t orvu_dirutils_path_transform(const char* path, char* buffer, uint32_t size);

/* Makes a folder and those above it that are missing, with permissions `mode` (octal 775 is 509)
 * less the process's mask, where the system has such. 0 if it is a folder afterwards, also when it
 * was one before; 1, 3 or 4. */
ORVU_API int32_t orvu_dirutils_mkdir(const char* path, int32_t mode);

/* ---- Threads. */

/* Blocks the calling thread for at least that long. */
ORVU_API void orvu_msleep(uint32_t milliseconds);

/* A thread: the system's handle, which is 0 when there is none, and the identifier by which the
 * system and the log know it. Zeroed by the caller. */
typedef struct {
    uint64_t handle;
    uint64_t id;
} orvu_thread_record;

/* Runs `entry(argument)` on a new thread; its result is dropped. On 0 the record is filled, before
 * `entry` begins; on 1, 3 or 4 there is no thread and the record is as it was. `argument` must
 * outlive the thread's use of it. Each started thread is to be detached. */
ORVU_API int32_t orvu_thread_start(orvu_thread_record* record, void* (*entry)(void*),
                                   void* argument);

/* Lets the thread go: it runs on, and what it holds is freed at its end. Clears the handle, so that
 * a second call gives 1; the identifier stays for the log. 0, 1 or 3. */
ORVU_API int32_t orvu_thread_detach(orvu_thread_record* record);

/* ---- Read/write lock. Many threads may hold it shared, or one exclusive. Neither side starves the
 * other: a stream of readers does not keep a writer out. Not recursive on either side, not to be
 * turned from shared into exclusive, released by the thread that acquired. A null word is no lock:
 * nothing is acquired, and the try calls refuse. */

/* The lock itself, or what the host needs to find it; zeroed by the caller before
 * orvu_rwlock_init. Never copied or moved while in use. */
typedef uintptr_t orvu_rwlock;

/* To be called once before the first use. There is no failure to report: a lock that cannot be made
 * for want of memory ends the process. */
ORVU_API void orvu_rwlock_init(orvu_rwlock* word);
/* When nobody holds or awaits the lock any more. The word is zero afterwards. */
ORVU_API void orvu_rwlock_destroy(orvu_rwlock* word);

/* Return when the lock is acquired. */
ORVU_API void orvu_rwlock_exclusive_acquire(orvu_rwlock* word);
ORVU_API void orvu_rwlock_shared_acquire(orvu_rwlock* word);

/* 0 if acquired, 1 if that was not possible at once: for exclusive when anybody holds it, for
 * shared when a writer holds or awaits it. */
ORVU_API int32_t orvu_rwlock_exclusive_try_acquire(orvu_rwlock* word);
ORVU_API int32_t orvu_rwlock_shared_try_acquire(orvu_rwlock* word);

ORVU_API void orvu_rwlock_exclusive_release(orvu_rwlock* word);
ORVU_API void orvu_rwlock_shared_release(orvu_rwlock* word);

ORVU_EXTERN_C_END

#endif /* ORVUBASE_H */
