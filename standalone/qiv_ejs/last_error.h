#ifndef ORVU_QIV_EJS_LAST_ERROR_H
#define ORVU_QIV_EJS_LAST_ERROR_H

// The calling thread's last outcome, as qiv_ejs_last_error tells it. A plain record of fixed size:
// nothing has to be destroyed when a thread ends, and noting a failure can't fail itself. Texts
// are cut where they don't fit.

#include <cstdint>

namespace orvu::ejs {

// Notes success.
void clear_error();

// Notes a failure of `kind` (a qiv_ejs_reason) at `line` of `path`, 0 when no line is known.
// `reason` says what was expected or what went wrong; `detail` may be null and follows it.
void set_error(int32_t kind, const char* path, int32_t line, const char* reason,
               const char* detail = nullptr);

}  // namespace orvu::ejs

#endif  // ORVU_QIV_EJS_LAST_ERROR_H
