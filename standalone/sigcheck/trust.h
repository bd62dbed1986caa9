#ifndef ORVU_SIGCHECK_TRUST_H
#define ORVU_SIGCHECK_TRUST_H

// Who is trusted, apart from who signed: the roots of one policy. One body a system (posix/,
// windows/). Made once for a policy, then only read: any number of threads may ask.

#include <cstdint>
#include <memory>

#include "standalone/sigcheck/file.h"
#include "standalone/sigcheck/signed_data.h"

namespace orvu::sigcheck {

class TrustRoots {
  public:
    // The roots of a policy that asks for them: those of a PEM file (native path, UTF-8), or the
    // system's when `pem_path` is null. Null when the file yields no certificate.
    static std::shared_ptr<const TrustRoots> load(const char* pem_path);

    virtual ~TrustRoots() = default;
    TrustRoots(const TrustRoots&) = delete;
    TrustRoots& operator=(const TrustRoots&) = delete;

    // Do the roots vouch for the signer of an intact signature of `file`, whose path is `path`?
    [[nodiscard]] virtual bool vouch_for(const signed_data& data, const SignedFile& file,
                                         const orvu_wchar* path) const = 0;

  protected:
    TrustRoots() = default;
};

}  // namespace orvu::sigcheck

#endif  // ORVU_SIGCHECK_TRUST_H
