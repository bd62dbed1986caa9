#include "standalone/orvu_core/text.h"

#include "standalone/orvubase/core/utf.h"

namespace orvu {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

}  // namespace

std::string clean_utf8(std::string_view bytes) {
    bytes = bytes.substr(0, bytes.find('\0'));
    std::string out;
    out.reserve(bytes.size());
    for (size_t at = 0; at < bytes.size();) {
        char encoded[4];
        out.append(encoded, utf8_put(utf8_next(bytes, at).value_or(kReplacement), encoded));
    }
    return out;
}

std::string show_utf8(wide_view text) {
    return wide_to_utf8_lossy(text.substr(0, wide_length(text.data(), text.size())));
}

size_t wide_length(const orvu_wchar* text, size_t limit) {
    size_t length = 0;
    while (length < limit && text[length] != 0) {
        ++length;
    }
    return length;
}

}  // namespace orvu
