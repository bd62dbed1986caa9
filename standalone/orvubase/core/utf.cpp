#include "standalone/orvubase/core/utf.h"

namespace orvu {

namespace {

constexpr char32_t REPLACEMENT = 0xFFFD;

bool is_high_surrogate(char32_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

bool is_low_surrogate(char32_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

struct LeadByte {
    size_t length;      // of the whole sequence, 0 for a byte that starts none
    char32_t bits;      // what the byte itself contributes
    char32_t smallest;  // the smallest character that needs this length
};

LeadByte lead_byte(unsigned char byte) {
    if (byte < 0x80) {
        return {1, byte, 0};
    }
    if (byte >= 0xC2 && byte < 0xE0) {
        return {2, byte & 0x1FU, 0x80};
    }
    if (byte >= 0xE0 && byte < 0xF0) {
        return {3, byte & 0x0FU, 0x800};
    }
    if (byte >= 0xF0 && byte < 0xF5) {
        return {4, byte & 0x07U, 0x10000};
    }
    return {0, 0, 0};
}

void append_utf8(std::string& out, char32_t character) {
    char bytes[4];
    out.append(bytes, utf8_put(character, bytes));
}

}  // namespace

std::optional<char32_t> utf8_next(std::string_view text, size_t& position) {
    if (position >= text.size()) {
        return std::nullopt;
    }
    const size_t start = position++;
    const LeadByte lead = lead_byte(static_cast<unsigned char>(text[start]));
    if (lead.length == 0 || text.size() - start < lead.length) {
        return std::nullopt;
    }
    char32_t character = lead.bits;
    for (size_t i = 1; i < lead.length; ++i) {
        const auto byte = static_cast<unsigned char>(text[start + i]);
        if ((byte & 0xC0U) != 0x80U) {
            return std::nullopt;
        }
        character = (character << 6U) | (byte & 0x3FU);
    }
    if (character < lead.smallest || character > 0x10FFFF ||
        (character >= 0xD800 && character < 0xE000)) {
        return std::nullopt;
    }
    position = start + lead.length;
    return character;
}

std::optional<char32_t> wide_next(WStringView text, size_t& position) {
    if (position >= text.size()) {
        return std::nullopt;
    }
    const auto first = static_cast<char32_t>(text[position++]);
    if (is_low_surrogate(first)) {
        return std::nullopt;
    }
    if (!is_high_surrogate(first)) {
        return first;
    }
    if (position >= text.size()) {
        return std::nullopt;
    }
    const auto second = static_cast<char32_t>(text[position]);
    if (!is_low_surrogate(second)) {
        return std::nullopt;
    }
    ++position;
    return 0x10000 + ((first - 0xD800) << 10U) + (second - 0xDC00);
}

size_t utf8_put(char32_t character, char out[4]) {
    if (character < 0x80) {
        out[0] = static_cast<char>(character);
        return 1;
    }
    if (character < 0x800) {
        out[0] = static_cast<char>(0xC0U | (character >> 6U));
        out[1] = static_cast<char>(0x80U | (character & 0x3FU));
        return 2;
    }
    if (character < 0x10000) {
        out[0] = static_cast<char>(0xE0U | (character >> 12U));
        out[1] = static_cast<char>(0x80U | ((character >> 6U) & 0x3FU));
        out[2] = static_cast<char>(0x80U | (character & 0x3FU));
        return 3;
    }
    out[0] = static_cast<char>(0xF0U | (character >> 18U));
    out[1] = static_cast<char>(0x80U | ((character >> 12U) & 0x3FU));
    out[2] = static_cast<char>(0x80U | ((character >> 6U) & 0x3FU));
    out[3] = static_cast<char>(0x80U | (character & 0x3FU));
    return 4;
}

bool utf8_is_valid(std::string_view text) {
    for (size_t position = 0; position < text.size();) {
        if (!utf8_next(text, position)) {
            return false;
        }
    }
    return true;
}

std::optional<WString> utf8_to_wide(std::string_view text) {
    WString wide;
    wide.reserve(text.size());
    for (size_t position = 0; position < text.size();) {
        const std::optional<char32_t> character = utf8_next(text, position);
        if (!character) {
            return std::nullopt;
        }
        if (*character < 0x10000) {
            wide.push_back(static_cast<orvu_wchar>(*character));
        } else {
            const char32_t rest = *character - 0x10000;
            wide.push_back(static_cast<orvu_wchar>(0xD800 + (rest >> 10U)));
            wide.push_back(static_cast<orvu_wchar>(0xDC00 + (rest & 0x3FFU)));
        }
    }
    return wide;
}

std::optional<std::string> wide_to_utf8(WStringView text) {
    std::string out;
    out.reserve(text.size());
    for (size_t position = 0; position < text.size();) {
        const std::optional<char32_t> character = wide_next(text, position);
        if (!character) {
            return std::nullopt;
        }
        append_utf8(out, *character);
    }
    return out;
}

std::string wide_to_utf8_lossy(WStringView text) {
    std::string out;
    out.reserve(text.size());
    for (size_t position = 0; position < text.size();) {
        append_utf8(out, wide_next(text, position).value_or(REPLACEMENT));
    }
    return out;
}

size_t utf8_whole_prefix(std::string_view text) {
    // A sequence has at most three bytes after its lead, so only these can be cut off from it.
    for (size_t back = 1; back <= 3 && back <= text.size(); ++back) {
        const auto byte = static_cast<unsigned char>(text[text.size() - back]);
        if ((byte & 0xC0U) == 0x80U) {
            continue;
        }
        return lead_byte(byte).length > back ? text.size() - back : text.size();
    }
    return text.size();
}

}  // namespace orvu
