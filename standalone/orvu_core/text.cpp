#include "standalone/orvu_core/text.h"

#include <cstdint>

namespace orvu {

namespace {

constexpr uint32_t kReplacement = 0xFFFD;
constexpr uint32_t kInvalid = UINT32_MAX;

void append_utf8(std::string* out, uint32_t code) {
    if (code < 0x80) {
        out->push_back(static_cast<char>(code));
    } else if (code < 0x800) {
        out->push_back(static_cast<char>(0xC0 | (code >> 6)));
        out->push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else if (code < 0x10000) {
        out->push_back(static_cast<char>(0xE0 | (code >> 12)));
        out->push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        out->push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else {
        out->push_back(static_cast<char>(0xF0 | (code >> 18)));
        out->push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
        out->push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        out->push_back(static_cast<char>(0x80 | (code & 0x3F)));
    }
}

// Reads one code point at *at and moves on; after an invalid sequence by one byte.
uint32_t next_utf8(std::string_view bytes, size_t* at) {
    const auto lead = static_cast<unsigned char>(bytes[(*at)++]);
    if (lead < 0x80) {
        return lead;
    }
    size_t more = 0;
    uint32_t code = 0;
    uint32_t least = 0;
    if ((lead & 0xE0) == 0xC0) {
        more = 1;
        code = lead & 0x1F;
        least = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        more = 2;
        code = lead & 0x0F;
        least = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        more = 3;
        code = lead & 0x07;
        least = 0x10000;
    } else {
        return kInvalid;
    }
    if (bytes.size() - *at < more) {
        return kInvalid;
    }
    for (size_t i = 0; i < more; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[*at + i]);
        if ((byte & 0xC0) != 0x80) {
            return kInvalid;
        }
        code = (code << 6) | (byte & 0x3F);
    }
    if (code < least || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) {
        return kInvalid;
    }
    *at += more;
    return code;
}

}  // namespace

std::string clean_utf8(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size());
    for (size_t at = 0; at < bytes.size() && bytes[at] != '\0';) {
        const uint32_t code = next_utf8(bytes, &at);
        append_utf8(&out, code == kInvalid ? kReplacement : code);
    }
    return out;
}

std::string show_utf8(wide_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t at = 0; at < text.size() && text[at] != 0; ++at) {
        uint32_t code = static_cast<uint16_t>(text[at]);
        if (code >= 0xD800 && code < 0xE000) {
            const uint32_t low = at + 1 < text.size() ? static_cast<uint16_t>(text[at + 1]) : 0;
            if (code < 0xDC00 && low >= 0xDC00 && low < 0xE000) {
                code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                ++at;
            } else {
                code = kReplacement;
            }
        }
        append_utf8(&out, code);
    }
    return out;
}

bool utf8_to_wide(std::string_view bytes, wide_string* result) {
    result->clear();
    for (size_t at = 0; at < bytes.size();) {
        const uint32_t code = next_utf8(bytes, &at);
        if (code == kInvalid) {
            return false;
        }
        if (code < 0x10000) {
            result->push_back(static_cast<orvu_wchar>(code));
        } else {
            result->push_back(static_cast<orvu_wchar>(0xD800 + ((code - 0x10000) >> 10)));
            result->push_back(static_cast<orvu_wchar>(0xDC00 + ((code - 0x10000) & 0x3FF)));
        }
    }
    return true;
}

size_t wide_length(const orvu_wchar* text, size_t limit) {
    size_t length = 0;
    while (length < limit && text[length] != 0) {
        ++length;
    }
    return length;
}

}  // namespace orvu
