#ifndef ORVU_CORE_H
#define ORVU_CORE_H

#include "orvu_types.h"

/* The framework's core as a plug-in sees it: resources, subscriptions, conditions, mailboxes,
 * timers, the debug console and the driver layers.
 *
 * Threads: every call may be made from any thread, several at once, also from within a callback.
 * What a thread registers here is called back on that same thread, from within its orvu_poll_wait:
 * resource handlers, subscription callbacks, condition executors and debug handlers. They never
 * overlap on one thread, so what only they touch needs no lock; and while one runs, the others of
 * its thread wait. Two kinds arrive elsewhere: driver event handlers on the driver's own threads,
 * several at once, and timer callbacks on the timers' thread. A registration lasts as long as its
 * thread: when that ends, the name is free again.
 *
 * Results: 0 is success. A plug-in tells failures apart by nothing else; this host's values are
 * those of its orvu_core_host.h. Every call that takes a handle answers a wrong or outlived one
 * with a failure.
 *
 * JSON values that a call takes stay the caller's and are copied, with at most 256 levels of
 * nesting; what a callback is given is valid until it returns, unless told otherwise. */

ORVU_EXTERN_C_BEGIN

/* ---- Resources: endpoints that answer requests --------------------------------------------- */

/* Handles one request, or hears the outcome of its own registration.
 * With a request: status is 0; the handler returns a new JSON object, the response, which passes to
 * the host. Null tells the requester that there was no answer.
 * With a null request: the registration came out with this status, 0 for success; the handler
 * returns null. That is the first call of every handler, save that a request of another thread may
 * overtake it. */
typedef json_t* (*orvu_res_handler)(int32_t status, orvu_request request);

/* Registers a handler for a path, which must be free. flag: pass 0. The result is the outcome that
 * the handler is told as well, later. Non-zero: the path is null, empty, longer than 1,024 bytes or
 * taken; without a handler nobody is told. */
ORVU_API int32_t orvu_res_locate(const char* path, int32_t flag, orvu_res_handler handler);

/* The same with a JSON schema. check: 1 to check each request's parameters against the schema
 * before the handler runs (0: no check, the schema isn't read). A request that fails is answered by
 * the host with an object that holds the reason, and the handler doesn't hear of it; a request
 * without parameters is checked as JSON null. The schema is read during the call. "required" may be
 * a list of names, as in draft 7, or a boolean in each property, as in draft 3; not both in one
 * schema. Not supported, and refused: "pattern", "patternProperties", "format", "uniqueItems",
 * "multipleOf", "divisibleBy", "id", "$id", "$ref", more than 32 levels, more than 256 KiB.
 * Non-zero: as above, or the text is no such schema. */
ORVU_API int32_t orvu_res_locate_ex(const char* path, int32_t check, int32_t flag,
                                    orvu_res_handler handler, const char* schema);

/* The parameters of a request, or null when it has none. They belong to the host: valid until the
 * handler returns, to be read on its thread, not released and not kept. Null for any other handle.
 */
ORVU_API json_t* orvur_req_get_param(orvu_request request);

/* ---- Subscriptions: named services and those who attach to them ---------------------------- */

/* ns and name tell who the subscriber is; reserved is 0. */
typedef struct {
    const char* ns;
    const char* name;
    int32_t reserved;
} orvu_subscriber_attr;

/* What both sides hear. error: 0, or why an installation failed. reserved: 0. payload: valid until
 * the callback returns, null at all moments but 1. ref: never 0 but for the outcome of an
 * installation, and never the same for two subscribers, also one after another.
 *
 *   moment                     to the subscribee                 to the subscriber
 *   0                          a subscriber attached             attached
 *   1                          it pushed a payload forward       a payload was pushed back to it
 *   2                          it unsubscribed                   -
 *   3                          its connection is lost            the subscribee's thread has ended
 *   0 with a null ref          the outcome of the installation   -
 *
 * A subscribee hears 0 first of a subscriber, and nothing of it after 2 or 3. After a subscriber
 * heard 3 it waits for the next subscribee of that name. */
typedef void (*orvu_subscription_cb)(int32_t error, uintptr_t reserved, int32_t moment,
                                     json_t* payload, orvu_subscriber_ref ref);

/* Makes a subscriber, for good. The attributes are copied, null texts as empty ones. Returns 0 for
 * null attributes, at the limit of 4,096 subscribers, or without memory. */
ORVU_API orvu_subscriber orvu_subscriber_new(const orvu_subscriber_attr* attr);

/* Attaches a subscriber to a subscribee, once. flag: pass 0. A subscribee that isn't installed yet
 * is waited for without end. The callback runs on the calling thread's mailbox; null for none. The
 * subscriber can push from any thread, and goes on to when the calling thread has ended.
 * Non-zero: a null or wrong subscriber, an unusable name, or attached before. */
ORVU_API int32_t orvu_subscriber_subscribe(orvu_subscriber s, const char* subscribee, int32_t flag,
                                           orvu_subscription_cb callback);

/* Sends a copy of a value to the subscribee, where it arrives as moment 1, in the order of the
 * pushes. The caller keeps its reference. a, b: pass 0. Before the subscribee is installed, up to
 * 64 values are kept for it. Non-zero: not subscribed, a null value, or the subscribee's mailbox is
 * full. */
ORVU_API int32_t orvu_subscriber_pushforward(orvu_subscriber s, json_t* object, int32_t a,
                                             int32_t b);

/* A subscriber's attributes, owned by the host and valid until the subscribee's callback for moment
 * 2 or 3 has returned. Null for a wrong reference. */
ORVU_API const orvu_subscriber_attr* orvu_subscriber_get_attr(orvu_subscriber_ref ref);

/* Installs a subscribee under a name, which must be free. a, b: pass 0. The callback first hears
 * the outcome, with a null reference, and then of each subscriber, those that waited included.
 * second: may be null; this host has no occasion to call it. The result is the outcome as well. */
ORVU_API int32_t orvu_subscribee_install(const char* name, int32_t a, int32_t b,
                                         orvu_subscription_cb callback, void (*second)(void));

/* Sends a copy of a value to one subscriber, where it arrives as moment 1. The caller keeps its
 * reference. a, b: pass 0. Non-zero: a null value, the subscriber is gone, or its mailbox full. */
ORVU_API int32_t orvu_subscribee_pushback(orvu_subscriber_ref ref, json_t* object, int32_t a,
                                          int32_t b);

/* ---- Conditions: questions that stay open --------------------------------------------------- */

/* param: the condition's parameters, an object; empty when it was attached without any. The words
 * before it hold nothing for a plug-in. */
typedef struct {
    const void* reserved[3];
    json_t* param;
} orvu_cond_attr;

/* state: 1 met, 0 not. reserved: 0. */
typedef struct {
    int32_t state;
    uint64_t reserved[2];
} orvu_cond_result;

/* operation: 0 the condition was attached, 1 it was detached. An executor hears each once for a
 * condition, the attach first. What it returns is not looked at. */
typedef int32_t (*orvu_cond_cb)(orvu_cond cond, int32_t operation);

/* Installs an executor under a name, which must be free. a, b: pass 0. Conditions that were
 * attached to the name before are handed over now. Its outcome is told by the result alone. */
ORVU_API int32_t orvu_cond_exec_install(const char* name, int32_t a, int32_t b,
                                        orvu_cond_cb callback);

/* A condition's record, owned by the host and valid until the executor's callback for operation 1
 * has returned; to be read on the executor's thread. Null for a wrong handle. */
ORVU_API const orvu_cond_attr* orvu_cond_get_attr(orvu_cond cond);

/* Reports a condition's state to whoever attached it, in the order of the reports, whether it
 * changed or not. The record is read during the call only. Non-zero: the condition is unknown or
 * detached (so in answer to operation 1, which needs no report), or the other side's mailbox is
 * full; the state is kept in that case. */
ORVU_API int32_t orvu_cond_res_changed(orvu_cond cond, const orvu_cond_result* result);

/* ---- Mailboxes and timers ------------------------------------------------------------------- */

/* Waits until something is due on the calling thread, for at most `interval` seconds, and runs it.
 * Whatever is posted wakes it at once, so that the interval delays nothing and a waiting thread
 * costs nothing. Returns when what was due at its waking has run, or after the interval; at once
 * for an interval of 0 or less with nothing due, and when called from within a callback of the same
 * thread.
 *
 * A thread's mailbox holds 4,096 callbacks; what would go beyond is refused to whoever sends it.
 * Registrations' outcomes, attaches, detaches and departures have as much room again. */
ORVU_API void orvu_poll_wait(int32_t interval);

/* reserved: 0. */
typedef void (*orvu_timer_cb)(uintptr_t reserved, void* argument);

/* Calls a callback once, `delay` milliseconds from now or somewhat later, on the timers' thread,
 * where callbacks run one at a time and should be brief. Returns the timer, 0 for a null callback,
 * with 65,536 timers waiting, or without resources. To repeat, the callback starts the next one. */
ORVU_API orvu_timer orvu_timer_start(uint32_t delay, orvu_timer_cb callback, void* argument);

/* Stops a timer. 0: its callback will not run. Non-zero: it has run or is running at this moment,
 * was stopped before, or never was. Never waits, so the caller may hold a lock that the callback
 * takes, and may be the callback itself. */
ORVU_API int32_t orvu_timer_stop(orvu_timer timer);

/* ---- Debug console -------------------------------------------------------------------------- */

/* argv: argc words, the first being the command, followed by at least four null pointers; valid
 * until the handler returns, like the context. */
typedef void (*orvu_dbg_handler)(int32_t argc, const char* const* argv, orvu_dbg context);

/* Declares a command. name and command are the same word in all uses; `command` is what is typed,
 * and must be free. help is copied, and shown for "command ?"; null for none. */
ORVU_API int32_t orvu_dbg_decl(const char* name, const char* command, const char* help,
                               orvu_dbg_handler handler);

/* Prints a text to whoever runs the command, with a code of the handler's choice. The text stays
 * the caller's. One run may echo 64 MiB. Non-zero: a null text, more than that, or the command has
 * ended. */
ORVU_API int32_t orvu_dbg_echo(orvu_dbg context, int32_t code, const char* text);

/* ---- Driver: events ------------------------------------------------------------------------- */

/* Opens the driver layers. host_argument: what the host gave the plug-in at load, null allowed. May
 * be called again. Only the low 32 bits of the result tell: 0 for success. */
ORVU_API int64_t orvu_basedrv_init_driver(void* host_argument);

/* Handles one event, on a thread of the driver's. With status 0 the handler completes the message,
 * itself or through another thread; with any other status it neither reads nor completes it (this
 * host always gives 0). context: from the registration. reserved: 0. */
typedef void (*orvu_event_handler)(int32_t status, orvu_msg message, void* context,
                                   uintptr_t reserved);

/* Registers a handler for the events of a class and sub-class: 1 and 0 are process starts.
 * limit: how many messages may wait for the handler, at least 1; what would go beyond is refused to
 * the raiser. mask: which kinds of the events, a bit each; 65535 is all of them.
 * Several handlers of one event get its record one after another, in the order of registration. The
 * same class, sub-class, handler and mask again replaces context and limit. Non-zero: a null
 * handler, a limit below 1, no kind, more than 64 registrations, or no thread could be started. */
ORVU_API int32_t orvu_basedrv_register_event_notify(int32_t cls, int32_t sub,
                                                    orvu_event_handler handler, void* context,
                                                    int32_t limit, uint16_t mask);

/* Removes a registration; class, sub-class, handler and mask must be those it was made with. No
 * call of the handler begins any more. Calls that are running are waited for, up to ten seconds:
 * don't hold a lock that they take. Called from within an event handler it waits for none.
 * Non-zero: no such registration, or one was still running. */
ORVU_API int32_t orvu_basedrv_unregister_event_notify(int32_t cls, int32_t sub,
                                                      orvu_event_handler handler, uint16_t mask);

/* The record of a message, packed and without alignment, by offset:
 *
 *    0   32-bit flags: 4 report only, the process isn't to be identified;
 *        8 the process has an appid, written by the handler
 *    4   64-bit parent process identifier
 *   12   64-bit process identifier
 *   20   8 bytes without meaning
 *   28   the executable's path, wide, NUL-terminated
 *
 * The handler may write the flags in place; the raiser reads them after the completion. Valid until
 * the message is completed. When the raiser stopped waiting, the record stays all the same until it
 * is completed; only of messages that no handler is busy with any more, the 1,024 latest are kept.
 * Null for any other handle. */
ORVU_API void* orvu_basedrv_get_notify_msgdata(orvu_msg message);

/* Completes a message, from any thread: the raiser goes on, and the record may not be touched any
 * more. Non-zero: there is no such message, or it was completed before. */
ORVU_API int32_t orvu_basedrv_complete_msg(orvu_msg message);

/* ---- Driver: what processes and paths belong to --------------------------------------------- */

/* The executable's path of a running process, as a framework path. capacity: of the buffer, in
 * characters with the NUL. Non-zero, with the buffer empty: no such process, it can't be asked, or
 * the path doesn't fit. */
ORVU_API int32_t orvu_funcdrv_get_procpath(uint64_t pid, orvu_wchar* buffer, uint32_t capacity);

/* Both in two steps: with a null buffer *count receives the number of entries; with a buffer,
 * *count says how many it holds, no more are written, and *count receives how many were. Entries
 * that came in between the steps are left out, and the rest of the buffer stays as it is. Non-zero:
 * a null count.
 *
 * get_all_appids: 9 bytes an entry, packed: 32-bit pid, 32-bit appid, 8-bit inherit flag; in the
 * order of pid and appid. Of a longer pid the low half. get_app_path: 520 bytes an entry, one
 * NUL-terminated wide path with zeros behind it; each path that has an appid once, in the order of
 * the units' values. */
ORVU_API int32_t orvu_funcdrv_get_all_appids(void* buffer, uint32_t* count);
ORVU_API int32_t orvu_funcdrv_get_app_path(void* buffer, uint32_t* count);

/* Tells that a process, and the executable at a path, belong to an appid. A pid of 0 relates the
 * path alone, a null path the pid alone; at least one is needed. inherit: non-zero when children
 * may take the appid over. tag: whose rule it was, kept with the relation; null for none. A
 * relation that is there takes the new flag and tag. A path of 260 characters or more isn't kept,
 * since no entry of get_app_path holds it: its pid is, and with pid 0 the call is refused.
 * Non-zero: refused so, a tag above 1,024 bytes, a table is full (1,048,576 entries each), or more
 * than 4,096 different tags. */
ORVU_API int32_t orvu_funcdrv_add_appid_pid_relation(uint64_t pid, uint32_t appid, uint8_t inherit,
                                                     const orvu_wchar* path, const char* tag);

/* Gives a process its parent's inheritable appids, inheritable in turn, beside its own. 0 when
 * there was at least one to give; non-zero when the parent has none. */
ORVU_API int32_t orvu_funcdrv_add_appid_pid_relation_by_parent(uint64_t pid, uint64_t parent_pid);

/* Tells that nobody could identify the executable at a path. Stands until the host drops it. */
ORVU_API int32_t orvu_funcdrv_add_unident_app_relation(const orvu_wchar* path);

/* Drops all relations of paths; those of processes stay. */
ORVU_API int32_t orvu_funcdrv_clear_appid_path_relation(void);

/* Tells the version of the library of a tag. *old_version receives the one told before, 0 for a new
 * tag; null allowed. Non-zero: a null tag, one above 1,024 bytes, or more than 4,096 tags. */
ORVU_API int32_t orvu_funcdrv_set_applibrary_version(const char* tag, uint64_t version,
                                                     uint64_t* old_version);

ORVU_EXTERN_C_END

#endif /* ORVU_CORE_H */
