#ifndef ORVU_SIGCHECK_DEFAULT_TRUST_H
#define ORVU_SIGCHECK_DEFAULT_TRUST_H

// The policy until the program sets one. Here nobody vouches for the signers of Windows programs.

#include "standalone/sigcheck/sigcheck_host.h"

namespace orvu::sigcheck {
constexpr int32_t default_trust = SIGCHECK_TRUST_NONE;
}  // namespace orvu::sigcheck

#endif  // ORVU_SIGCHECK_DEFAULT_TRUST_H
