#ifndef ORVU_STANDALONE_ORVU_CORE_ORVU_CORE_HOST_H
#define ORVU_STANDALONE_ORVU_CORE_ORVU_CORE_HOST_H

/* The other side of orvu_core.h: what a program does that hosts plug-ins in its own process. It
 * sends the requests, raises the driver events, watches and subscribes as an outside party, and
 * reads what the plug-ins told the function driver.
 *
 * Every call may be made from any thread, several at once. Callbacks given here are queued to the
 * mailbox of the thread that made the call and run inside its orvu_poll_wait or orvu_host_poll.
 * JSON arguments stay the caller's and are copied; a JSON result is a new reference of the caller's
 * (null when memory ran out). Time-outs are milliseconds; ORVU_HOST_FOREVER waits without end.
 * Texts are UTF-8. Nothing is thrown out of a call, and nothing may be thrown out of a callback.
 */

#include "orvu_core.h"

ORVU_EXTERN_C_BEGIN

#define ORVU_HOST_FOREVER UINT32_MAX

/* What the calls below return as int32_t. */
enum {
    ORVU_HOST_OK = 0,
    ORVU_HOST_NOT_FOUND = 1, /* no such resource, handler, subscription, condition, command, pid */
    ORVU_HOST_BAD_PARAM = 2, /* the parameters fail the resource's schema; its handler didn't run */
    ORVU_HOST_TIMED_OUT = 3, /* the other side didn't finish in time; it may still finish later */
    ORVU_HOST_NO_ANSWER = 4, /* the handler ran and returned null */
    ORVU_HOST_QUEUE_FULL = 5,  /* the other side's queue is at its limit; nothing was sent */
    ORVU_HOST_INVALID = 6,     /* an argument can't be used */
    ORVU_HOST_WOULD_BLOCK = 7, /* the caller is the very thread that would have to answer */
    ORVU_HOST_OWNER_GONE = 8,  /* the thread that would have to answer has ended */
    ORVU_HOST_NO_MEMORY = 9,   /* memory or another resource of the system ran out */
    ORVU_HOST_DUPLICATE = 10,  /* the name is taken */
    ORVU_HOST_LIMIT = 11       /* a stated limit is reached; nothing was changed */
};

/* One line of plain words for a code, never null, static. */
ORVU_API const char* orvu_host_code_text(int32_t code);

/* ---- Mailboxes ---------------------------------------------------------------------------- */

/* orvu_poll_wait with a time-out in milliseconds: runs every callback that is queued for the
 * calling thread, waiting up to the time-out for a first one. Returns how many it ran; 0 after a
 * time-out, an orvu_host_wake, or when called from within a callback of the same thread. */
ORVU_API uint32_t orvu_host_poll(uint32_t timeout_ms);

/* The identifier of the calling thread's mailbox, for orvu_host_wake. Never reused, never 0 unless
 * memory ran out. */
ORVU_API uint64_t orvu_host_mailbox(void);

/* Ends the present or, when its thread isn't waiting, the next wait on a mailbox. ORVU_HOST_OK, or
 * ORVU_HOST_NOT_FOUND when its thread has ended. Not for signal handlers. */
ORVU_API int32_t orvu_host_wake(uint64_t mailbox);

/* ---- Requests to resources ---------------------------------------------------------------- */

/* Sends one request to a resource and waits for the answer.
 * param: the parameters, null for none (a schema is then checked against JSON null and, unless it
 * allows that, fails).
 * response: null, or receives the answer, to be released by the caller. For ORVU_HOST_OK that is
 * what the handler returned; for any other code an object {"error": word, "reason": text}, with the
 * word "not_found", "bad_param", "timed_out", "no_answer", "queue_full", "invalid", "would_block",
 * "owner_gone" or "no_memory". After a time-out a handler that hasn't begun is not started; one
 * that has begun finishes and its answer is dropped. */
ORVU_API int32_t orvu_host_request(const char* resource, json_t* param, uint32_t timeout_ms,
                                   json_t** response);

/* Waits until a resource is registered: ORVU_HOST_OK or ORVU_HOST_TIMED_OUT. */
ORVU_API int32_t orvu_host_wait_resource(const char* resource, uint32_t timeout_ms);

/* ---- Driver events ------------------------------------------------------------------------ */

#define ORVU_EVENT_CLASS_PROCESS 1
#define ORVU_EVENT_SUB_START 0
#define ORVU_EVENT_FLAG_REPORT_ONLY 4u
#define ORVU_EVENT_FLAG_ISAPPID 8u

/* Raises one process-start event: builds the driver's record, hands it to every registered handler
 * of the class on a thread of the driver's pool, waits until it is completed, and reads the flags
 * back. Up to ORVU_EVENT_THREADS handlers run at once, whoever raises.
 * path: the executable's framework path, copied; at most 32,767 units.
 * flags_back: null, or receives the record's flags as the handlers left them (the given flags when
 * the event was not completed).
 * ORVU_HOST_OK completed; ORVU_HOST_NOT_FOUND no handler (any more); ORVU_HOST_TIMED_OUT;
 * ORVU_HOST_QUEUE_FULL as many messages wait as the handler's registration allows;
 * ORVU_HOST_INVALID; ORVU_HOST_NO_MEMORY. The relations of the pid are left as they are: call
 * orvu_host_forget_pid first when the number may have been another process's. */
ORVU_API int32_t orvu_host_raise_process_event(uint64_t pid, uint64_t parent,
                                               const orvu_wchar* path, uint32_t flags,
                                               uint32_t timeout_ms, uint32_t* flags_back);
#define ORVU_EVENT_THREADS 4

/* Waits until a handler for process-start events is registered: ORVU_HOST_OK or
 * ORVU_HOST_TIMED_OUT. */
ORVU_API int32_t orvu_host_wait_event_handler(uint32_t timeout_ms);

/* ---- What is registered and what was told ------------------------------------------------- */

/* What is registered now, each list in byte order of its names:
 * {"resources": [{"path", "schema": bool}], "subscribees": [{"name", "subscribers": count}],
 *  "executors": [{"name", "conditions": count}], "commands": [{"name", "help"}],
 *  "events": [{"class", "sub", "mask", "limit", "waiting", "running"}]} */
ORVU_API json_t* orvu_host_registered(void);

/* Everything that the function driver was told, in the order of pid and appid, of path and appid,
 * of path, and of tag:
 * {"processes": [{"pid", "appid", "inherit": bool, "tag"}],
 *  "paths": [{"path", "appid", "inherit": bool, "tag"}],
 *  "unidentified": [path], "versions": [{"tag", "version"}]}
 * A pid or version above the largest signed 64-bit number appears as its negative counterpart. */
ORVU_API json_t* orvu_host_relations(void);

/* The "processes" entries of one pid alone, an array, empty when it has none. */
ORVU_API json_t* orvu_host_relations_of(uint64_t pid);

/* The "paths" entries of one path alone, an array; the path is compared unit by unit. */
ORVU_API json_t* orvu_host_relations_of_path(const orvu_wchar* path);

/* Drops the relations of a pid, or those of a path and its mark as unidentified.
 * ORVU_HOST_NOT_FOUND when there was nothing to drop. */
ORVU_API int32_t orvu_host_forget_pid(uint64_t pid);
ORVU_API int32_t orvu_host_forget_path(const orvu_wchar* path);

/* ---- Subscriptions ------------------------------------------------------------------------ */

/* moment 0: attached to the subscribee (now, or later when it is installed); payload null.
 * moment 1: the subscribee pushed a payload back; it lives until the callback returns.
 * moment 3: the subscribee's thread has ended. */
typedef void (*orvu_host_subscription_cb)(int32_t moment, json_t* payload, void* context);

/* Subscribes as an outside party with the given attributes; a subscribee that isn't installed yet
 * is waited for without end. Returns the subscription, 0 on a null name or callback, at the limit
 * of 4,096 subscriptions, or without memory. */
ORVU_API uint64_t orvu_host_subscribe(const char* subscribee, const char* ns, const char* name,
                                      orvu_host_subscription_cb callback, void* context);

/* Sends a payload to the subscribee, where it arrives as moment 1. Before the subscribee is
 * installed up to 64 payloads are kept for it. ORVU_HOST_OK, NOT_FOUND, INVALID, QUEUE_FULL,
 * OWNER_GONE, NO_MEMORY. */
ORVU_API int32_t orvu_host_pushforward(uint64_t subscription, json_t* object);

/* Ends a subscription: the subscribee hears moment 2, or moment 3 from the second form. Called on
 * the subscription's own thread, no callback of it runs any more; from another thread, one may
 * still be running on return. ORVU_HOST_OK, ORVU_HOST_NOT_FOUND, or ORVU_HOST_QUEUE_FULL when the
 * subscribee can't be told now: the subscription then stands as before. When the thread of a
 * subscription ends, that counts as a lost connection. */
ORVU_API int32_t orvu_host_unsubscribe(uint64_t subscription);
ORVU_API int32_t orvu_host_connection_lost(uint64_t subscription);

/* ---- Conditions --------------------------------------------------------------------------- */

/* state: what the executor reported. */
typedef void (*orvu_host_condition_cb)(uint64_t condition, int32_t state, void* context);

/* Attaches a condition to an executor, with an object of parameters for it; an executor that isn't
 * installed yet is waited for without end. callback may be null (see orvu_host_condition_state).
 * Returns the condition, 0 on a null executor name, at the limit of 4,096 conditions, or without
 * memory. */
ORVU_API uint64_t orvu_host_condition_attach(const char* executor, json_t* param,
                                             orvu_host_condition_cb callback, void* context);

/* Detaches it: the executor hears operation 1, and what it reports from then on is dropped. The
 * same rules for running callbacks and results as at orvu_host_unsubscribe. When the thread of a
 * condition with a callback ends, the condition is detached; one without stands on. */
ORVU_API int32_t orvu_host_condition_detach(uint64_t condition);

/* Waits until the executor has reported on the condition at least once, and gives the state
 * reported last. ORVU_HOST_OK, ORVU_HOST_NOT_FOUND, ORVU_HOST_TIMED_OUT. */
ORVU_API int32_t orvu_host_condition_state(uint64_t condition, uint32_t timeout_ms, int32_t* state);

/* ---- Debug console ------------------------------------------------------------------------ */

/* Runs a command line and waits for its end. Words are parted by blanks and tabs; double quotes
 * hold blanks together, and a backslash takes a quote or a backslash that follows it literally. The
 * first word is the command. A command whose second word alone is "?" echoes its help text instead.
 * output: null, or receives an array [{"code", "text"}] of what was echoed, also what a command
 * that timed out has echoed so far. ORVU_HOST_OK, NOT_FOUND, TIMED_OUT, QUEUE_FULL, INVALID (no
 * word, an open quote, or more than 64 words), WOULD_BLOCK, OWNER_GONE, NO_MEMORY. */
ORVU_API int32_t orvu_host_console(const char* line, uint32_t timeout_ms, json_t** output);

ORVU_EXTERN_C_END

#endif /* ORVU_STANDALONE_ORVU_CORE_ORVU_CORE_HOST_H */
