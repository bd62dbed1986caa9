#ifndef ORVU_SIGCHECK_CRYPTO_H
#define ORVU_SIGCHECK_CRYPTO_H

// The cryptography of the operating system: OpenSSL (posix/), CNG and crypt32 (windows/). Any
// thread may call; a Hasher belongs to one. Nothing throws but std::bad_alloc.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "standalone/sigcheck/bytes.h"

namespace orvu::sigcheck {

enum class digest { sha1, sha256, sha384, sha512 };

// The algorithm that the content of a DER object identifier names; nothing for one that is unknown
// or no longer counts (MD5 and older).
std::optional<digest> digest_of(bytes oid);

size_t digest_size(digest algorithm);

class Hasher {
  public:
    explicit Hasher(digest algorithm);
    ~Hasher();
    Hasher(const Hasher&) = delete;
    Hasher& operator=(const Hasher&) = delete;

    void add(const void* data, size_t size);
    // The digest, and the end of this value's use; empty when the system failed on the way.
    std::vector<uint8_t> finish();

  private:
    digest algorithm_;
    void* state_ = nullptr;
    bool failed_ = false;
};

// Does `signature` over `message`, hashed by `algorithm`, verify with the key of the certificate
// (DER)? RSA (PKCS#1 1.5) and ECDSA keys; false for any other, and for a certificate that can't be
// read.
bool verify_signature(bytes certificate, digest algorithm, bytes message, bytes signature);

}  // namespace orvu::sigcheck

#endif  // ORVU_SIGCHECK_CRYPTO_H
