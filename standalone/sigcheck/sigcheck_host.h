#ifndef SIGCHECK_HOST_H
#define SIGCHECK_HOST_H

#include "orvu_types.h"

/* What the host's program may set and ask of the signer check; no plug-in needs this header. Every
 * call may come from any thread. */

ORVU_EXTERN_C_BEGIN

/* Outcomes, also those of qiv_get_file_sign_w. Values are fixed. */
enum sigcheck_state {
    SIGCHECK_OK = 0,
    SIGCHECK_NOT_OPENED = 1,  /* missing, no regular file, or can't be read */
    SIGCHECK_NOT_PE = 2,      /* no PE file, beyond 4 GiB, or contradicted by the file's size */
    SIGCHECK_NOT_SIGNED = 3,  /* no certificate table, or none with a signature in it */
    SIGCHECK_MALFORMED = 4,   /* the signature can't be read, or uses an algorithm out of use */
    SIGCHECK_BROKEN = 5,      /* the digests differ, or the signature doesn't verify */
    SIGCHECK_NO_NAME = 6,     /* intact, but the certificate names nobody */
    SIGCHECK_NOT_TRUSTED = 7, /* intact, but the policy's roots don't vouch for it */
    SIGCHECK_CHANGING = 8,    /* the file was written to while it was read, twice in a row */
    SIGCHECK_BAD_ARGUMENT = 9,
    SIGCHECK_NO_MEMORY = 10
};

/* Whose word counts. With `none` an intact signature is enough, and the signer is whoever the
 * certificate says: anyone can make a certificate that calls itself anything. With the others the
 * chain of the signing certificate, completed by the certificates that the signature carries, must
 * end in a root from the given file or from the system's store, and the certificate must be meant
 * for signing code or for no use in particular. Revocation is not asked, since that needs a
 * network. The chain is judged at the time of an RFC 3161 time stamp when the signature has one
 * that verifies against the same roots, and now otherwise, so that without such a stamp an expired
 * certificate isn't trusted. On Windows the system's own verification decides for `system`, which
 * wants the signature first in its table, and a root file is always judged now. */
enum sigcheck_trust {
    SIGCHECK_TRUST_NONE = 0, /* the default, except on Windows */
    SIGCHECK_TRUST_FILE = 1,
    SIGCHECK_TRUST_SYSTEM = 2 /* the default on Windows */
};

/* Sets the policy and forgets every kept answer. `pem_path` (native form, UTF-8) is read now, and
 * only for SIGCHECK_TRUST_FILE; it holds one or more certificates in PEM. Returns 0, or
 * SIGCHECK_BAD_ARGUMENT or SIGCHECK_NOT_OPENED with the policy unchanged when it is unknown or the
 * file yields no certificate. */
ORVU_API int32_t sigcheck_set_trust(int32_t policy, const char* pem_path);

/* The two facts about a file, apart from each other. */
typedef struct {
    int32_t state;   /* SIGCHECK_OK exactly when qiv_get_file_sign_w would succeed */
    int32_t intact;  /* 1: digest and signature hold */
    int32_t trusted; /* 1 or 0 by the policy, -1 when the policy asks nobody or nothing is intact */
    orvu_wchar name[257]; /* the signer when the signature is intact, whoever trusts it */
} sigcheck_facts;

/* Fills `facts` for the file at `path` (framework form) and returns its state. */
ORVU_API int32_t sigcheck_query(const orvu_wchar* path, sigcheck_facts* facts);

/* Answers are kept by the file's identity, size, and times of modification and change, at most
 * this many (4,096 by default, about 300 bytes each); the ones not asked for longest go first. 0
 * keeps none. A file whose times are younger than its file system's clock can tell apart (0.1 s, 2
 * s where it counts whole seconds) is answered but not kept, so that a second write within one tick
 * is seen. A write through a shared mapping is seen when the system updates the file's times, which
 * may be as late as its write-back. */
ORVU_API void sigcheck_set_cache_limit(size_t entries);

typedef struct {
    uint64_t hits;    /* answered from memory, or by waiting for another thread's reading */
    uint64_t misses;  /* answered by reading the file */
    uint64_t evicted; /* answers dropped to keep the limit */
    uint64_t entries; /* answers kept now */
} sigcheck_counters;

/* What happened since the policy was set. */
ORVU_API void sigcheck_get_counters(sigcheck_counters* counters);

ORVU_EXTERN_C_END

#endif /* SIGCHECK_HOST_H */
