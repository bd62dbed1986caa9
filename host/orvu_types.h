#ifndef ORVU_TYPES_H
#define ORVU_TYPES_H

/* Types that every header of the contract shares.
 *
 * The contract is plain C: no exception leaves a call or a callback, in either direction. A 32-bit
 * result of 0 is success and any other value a failure, unless a call says otherwise. 8-bit strings
 * are UTF-8 and wide strings are 16-bit units, both NUL-terminated, unless a call says otherwise.
 * Handles are opaque and pointer-sized; 0 is "none".
 */

#include <jansson.h>
#include <stddef.h>
#include <stdint.h>

/* ORVU_API marks what a library exports. The host's libraries are compiled with
 * ORVU_BUILDING_HOST; whoever only calls them needs no marking. */
#if defined(_WIN32)
#if defined(ORVU_BUILDING_HOST)
#define ORVU_API __declspec(dllexport)
#else
#define ORVU_API
#endif
#else
#define ORVU_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
#define ORVU_EXTERN_C_BEGIN extern "C" {
#define ORVU_EXTERN_C_END }
#else
#define ORVU_EXTERN_C_BEGIN
#define ORVU_EXTERN_C_END
#endif

/* One unit of a wide string: 16 bits on every system. ORVU_TEXT("x") is such a literal. */
#if defined(_WIN32)
typedef wchar_t orvu_wchar;
#define ORVU_TEXT(literal) L##literal
#else
#ifndef __cplusplus
#include <uchar.h>
#endif
typedef char16_t orvu_wchar;
#define ORVU_TEXT(literal) u##literal
#endif

typedef uintptr_t orvu_request;        /* one request to a resource, valid during its handler */
typedef uintptr_t orvu_subscriber;     /* a subscriber that this side made */
typedef uintptr_t orvu_subscriber_ref; /* a subscriber as its subscribee sees it */
typedef uintptr_t orvu_cond;           /* an attached condition */
typedef uintptr_t orvu_timer;          /* a running timer */
typedef uintptr_t orvu_msg;            /* a driver message, valid until it is completed */
typedef uintptr_t orvu_dbg;            /* one run of a debug command, valid during its handler */

/* The capacity of every path buffer of the contract, in characters with the NUL. */
#define ORVU_PATH_CAPACITY 260

#endif /* ORVU_TYPES_H */
