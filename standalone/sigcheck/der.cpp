#include "standalone/sigcheck/der.h"

#include <cstddef>

namespace orvu::sigcheck {

bool DerReader::next(der_value& out) {
    if (rest_.size() < 2 || (rest_[0] & 0x1F) == 0x1F)
        return false;
    size_t header = 2;
    size_t length = rest_[1];
    if (length >= 0x80) {
        const size_t digits = length & 0x7F;
        if (digits == 0 || digits > 4 || rest_.size() < 2 + digits)
            return false;
        length = 0;
        for (size_t i = 0; i < digits; i++)
            length = length << 8 | rest_[2 + i];
        if (length < 0x80 || length >> (8 * (digits - 1)) == 0)
            return false;
        header += digits;
    }
    if (length > rest_.size() - header)
        return false;
    out.tag = rest_[0];
    out.whole = rest_.first(header + length);
    out.content = out.whole.subspan(header);
    rest_ = rest_.subspan(header + length);
    return true;
}

bool DerReader::next(uint8_t tag, der_value& out) {
    return !rest_.empty() && rest_[0] == tag && next(out);
}

}  // namespace orvu::sigcheck
