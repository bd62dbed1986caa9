#ifndef ORVU_SIGCHECK_POSIX_OPENSSL_HANDLES_H
#define ORVU_SIGCHECK_POSIX_OPENSSL_HANDLES_H

// Owners of OpenSSL's objects, as far as two files of this folder share them.

#include <openssl/err.h>
#include <openssl/x509.h>

#include <memory>

#include "standalone/sigcheck/bytes.h"

namespace orvu::sigcheck {

using x509_handle = std::unique_ptr<X509, decltype(&X509_free)>;

// Null when it is no certificate, or has something behind it.
inline x509_handle parse_certificate(bytes der) {
    const unsigned char* at = der.data();
    x509_handle certificate(d2i_X509(nullptr, &at, static_cast<long>(der.size())), &X509_free);
    if (certificate && at != der.data() + der.size())
        certificate.reset();
    return certificate;
}

// OpenSSL queues its errors per thread: what a failed step leaves isn't left to the caller's
// thread.
class OpensslErrorScope {
  public:
    OpensslErrorScope() { ERR_set_mark(); }
    ~OpensslErrorScope() { ERR_pop_to_mark(); }
    OpensslErrorScope(const OpensslErrorScope&) = delete;
    OpensslErrorScope& operator=(const OpensslErrorScope&) = delete;
};

}  // namespace orvu::sigcheck

#endif  // ORVU_SIGCHECK_POSIX_OPENSSL_HANDLES_H
