#ifndef ORVU_SIGCHECK_SUBJECT_NAME_H
#define ORVU_SIGCHECK_SUBJECT_NAME_H

// Whom a certificate names, as 16-bit text. Free of state, any thread.

#include <string>

#include "orvu_types.h"
#include "standalone/sigcheck/bytes.h"

namespace orvu::sigcheck {

// The first common name of a subject (the content of its SEQUENCE), or else its first
// organisational unit, or else its first organisation. A value counts only when it is text: UTF-8,
// 16-bit and 32-bit strings must be well formed, the 8-bit kinds are read as Latin-1, and a NUL
// ends the text. A value without a character before that counts as none. Cut at 256 units, between
// characters. Empty when the subject has none of the three.
std::basic_string<orvu_wchar> subject_name(bytes subject);

}  // namespace orvu::sigcheck

#endif  // ORVU_SIGCHECK_SUBJECT_NAME_H
