#ifndef ORVU_SIGCHECK_DEFAULT_TRUST_H
#define ORVU_SIGCHECK_DEFAULT_TRUST_H

// The policy until the program sets one. Here the system knows the makers of programs.

#include "standalone/sigcheck/sigcheck_host.h"

namespace orvu::sigcheck {
constexpr int32_t default_trust = SIGCHECK_TRUST_SYSTEM;
}  // namespace orvu::sigcheck

#endif  // ORVU_SIGCHECK_DEFAULT_TRUST_H
