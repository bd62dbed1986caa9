#ifndef ORVU_SIGCHECK_DER_H
#define ORVU_SIGCHECK_DER_H

// Reads the elements of a DER encoding one after the other, without copying. Strict: one-byte tags,
// definite lengths in their shortest form, every length inside its surroundings. Nothing recurses:
// whoever reads a structure makes one reader a level. Not shared between threads.

#include "standalone/sigcheck/bytes.h"

namespace orvu::sigcheck {

enum der_tag : uint8_t {
    DER_INTEGER = 0x02,
    DER_OCTET_STRING = 0x04,
    DER_NULL = 0x05,
    DER_OID = 0x06,
    DER_UTF8_STRING = 0x0C,
    DER_NUMERIC_STRING = 0x12,
    DER_PRINTABLE_STRING = 0x13,
    DER_T61_STRING = 0x14,
    DER_IA5_STRING = 0x16,
    DER_VISIBLE_STRING = 0x1A,
    DER_UNIVERSAL_STRING = 0x1C,
    DER_BMP_STRING = 0x1E,
    DER_SEQUENCE = 0x30,
    DER_SET = 0x31,
    DER_CONTEXT_0 = 0xA0,
    DER_CONTEXT_1 = 0xA1
};

struct der_value {
    uint8_t tag = 0;
    bytes whole;    // with tag and length
    bytes content;  // without them
};

class DerReader {
  public:
    explicit DerReader(bytes data) : rest_(data) {}

    // The next element; false at the end and for anything that is no DER.
    bool next(der_value& out);
    // The next element when it carries `tag`; otherwise false, and nothing is consumed.
    bool next(uint8_t tag, der_value& out);
    [[nodiscard]] bool at_end() const { return rest_.empty(); }
    // What has not been read yet.
    [[nodiscard]] bytes rest() const { return rest_; }

  private:
    bytes rest_;
};

}  // namespace orvu::sigcheck

#endif  // ORVU_SIGCHECK_DER_H
