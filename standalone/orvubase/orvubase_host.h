#ifndef ORVUBASE_HOST_H
#define ORVUBASE_HOST_H

/* What the program that hosts the framework controls of liborvubase: the home folder and the log.
 * Plug-ins never see this header. Plain C, any thread, nothing throws.
 */

#include "orvu_types.h"

ORVU_EXTERN_C_BEGIN

/* Makes `native_path_utf8` (absolute, or relative to the current folder) the home and creates it
 * with bin/, var/ and log/ below it, each with mode 0700; folders that exist keep their mode. To be
 * called before a plug-in is loaded, since paths that were handed out before stay as they were.
 * Without a call the home is $XDG_STATE_HOME/orvu or ~/.local/state/orvu, %LOCALAPPDATA%\orvu on
 * Windows, made when it is first needed.
 * 0 done; 1 null, empty or not UTF-8; 2 longer than ORVU_HOME_LIMIT as a framework path, so that
 * paths below it would not fit 260 characters; 3 the folders could not be made; 4 a name in it
 * contains a backslash (Linux), which framework paths cannot spell. On a failure the home stays
 * what it was. */
ORVU_API int32_t orvu_host_set_home(const char* native_path_utf8);

/* The longest home, in bytes of its framework form. */
#define ORVU_HOME_LIMIT 180

/* The home as a native path in UTF-8, without a separator at the end. Valid for the life of the
 * process, also after another call of orvu_host_set_home. Never null. */
ORVU_API const char* orvu_host_home(void);

/* The level that orvu_log_level_get answers: 1 warn, 2 info (at the start), 3 debug. 0 is
 * "nothing". Other values are taken to the nearest of these. */
ORVU_API int32_t orvu_host_log_level_get(void);
ORVU_API void orvu_host_log_level_set(int32_t level);

/* Non-zero: every line that goes to the log file is written to standard error as well. */
ORVU_API void orvu_host_log_echo(int32_t on);

/* Lines that were given to orvu_log_output and reached no file: the queue was full, memory was
 * short, or the file could not be written. */
ORVU_API uint64_t orvu_host_log_dropped(void);

/* Returns when every line that was accepted before the call is in the file or counted as dropped.
 */
ORVU_API void orvu_host_log_flush(void);

/* Flushes and closes the log file for good, so that its folder can be removed. Lines that come
 * later count as dropped. */
ORVU_API void orvu_host_log_close(void);

ORVU_EXTERN_C_END

#endif /* ORVUBASE_HOST_H */
