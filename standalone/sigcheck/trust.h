#ifndef ORVU_SIGCHECK_TRUST_H
#define ORVU_SIGCHECK_TRUST_H

// Who is trusted, apart from who signed: the roots of one policy. One body a system (posix/,
// windows/). Made once for a policy, then only read: any number of threads may ask.

#include <cstdint>
#include <memory>

#include "standalone/sigcheck/file.h"
#include "standalone/sigcheck/signed_data.h"

namespace orvu::sigcheck {

// The file that carries the signature, for a system that wants to look for itself.
struct signed_subject {
    const ReadableFile& file;
    const orvu_wchar* path;  // framework form
    bool first_in_table;     // no other entry of the certificate table stands before the signature
};

class TrustRoots {
  public:
    // The roots of a policy that asks for them: those of a PEM file (native path, UTF-8), or the
    // system's when `pem_path` is null. Null when the file yields no certificate.
    static std::shared_ptr<const TrustRoots> load(const char* pem_path);

    virtual ~TrustRoots() = default;
    TrustRoots(const TrustRoots&) = delete;
    TrustRoots& operator=(const TrustRoots&) = delete;

    // Do the roots vouch for the signer of this intact signature?
    [[nodiscard]] virtual bool vouch_for(const signed_data& data,
                                         const signed_subject& subject) const = 0;

  protected:
    TrustRoots() = default;
};

}  // namespace orvu::sigcheck

#endif  // ORVU_SIGCHECK_TRUST_H
