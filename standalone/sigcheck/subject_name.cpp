#include "standalone/sigcheck/subject_name.h"

#include <optional>
#include <string_view>

#include "standalone/orvubase/core/utf.h"
#include "standalone/sigcheck/der.h"

namespace orvu::sigcheck {
namespace {

constexpr size_t unit_limit = 256;

// 2.5.4.3, .11, .10: common name, organisational unit, organisation
constexpr uint8_t wanted[][3] = {{0x55, 0x04, 0x03}, {0x55, 0x04, 0x0B}, {0x55, 0x04, 0x0A}};

void put(WString& out, char32_t character) {
    if (character >= 0x10000) {
        out.push_back(static_cast<orvu_wchar>(0xD800 + ((character - 0x10000) >> 10)));
        out.push_back(static_cast<orvu_wchar>(0xDC00 + ((character - 0x10000) & 0x3FF)));
    } else {
        out.push_back(static_cast<orvu_wchar>(character));
    }
}

// Big-endian units of `width` bytes.
uint32_t unit_at(bytes text, size_t at, size_t width) {
    uint32_t value = 0;
    for (size_t i = 0; i < width; i++)
        value = value << 8 | text[at + i];
    return value;
}

std::optional<WString> from_wide(bytes text) {
    if (text.size() % 2 != 0)
        return std::nullopt;
    WString out;
    for (size_t at = 0; at < text.size(); at += 2)
        out.push_back(static_cast<orvu_wchar>(unit_at(text, at, 2)));
    if (!wide_to_utf8(out))
        return std::nullopt;
    return out;
}

std::optional<WString> from_wider(bytes text) {
    if (text.size() % 4 != 0)
        return std::nullopt;
    WString out;
    for (size_t at = 0; at < text.size(); at += 4) {
        const uint32_t character = unit_at(text, at, 4);
        if (character > 0x10FFFF || (character >= 0xD800 && character < 0xE000))
            return std::nullopt;
        put(out, character);
    }
    return out;
}

std::optional<WString> text_of(const der_value& value) {
    switch (value.tag) {
        case DER_UTF8_STRING:
            return utf8_to_wide(
                {reinterpret_cast<const char*>(value.content.data()), value.content.size()});
        case DER_BMP_STRING:
            return from_wide(value.content);
        case DER_UNIVERSAL_STRING:
            return from_wider(value.content);
        case DER_NUMERIC_STRING:
        case DER_PRINTABLE_STRING:
        case DER_T61_STRING:
        case DER_IA5_STRING:
        case DER_VISIBLE_STRING:
            return WString(value.content.begin(), value.content.end());
        default:
            return std::nullopt;
    }
}

void cut(WString& text) {
    if (const size_t end = text.find(orvu_wchar{0}); end != WString::npos)
        text.resize(end);
    if (text.size() <= unit_limit)
        return;
    const auto last = static_cast<uint16_t>(text[unit_limit - 1]);
    text.resize(last >= 0xD800 && last < 0xDC00 ? unit_limit - 1 : unit_limit);
}

// The first usable value of one attribute type in the whole subject.
WString find(bytes subject, bytes type) {
    DerReader sets(subject);
    der_value set;
    while (sets.next(DER_SET, set)) {
        DerReader pairs(set.content);
        der_value pair;
        while (pairs.next(DER_SEQUENCE, pair)) {
            DerReader fields(pair.content);
            der_value name;
            der_value value;
            if (!fields.next(DER_OID, name) || !fields.next(value) || !same(name.content, type))
                continue;
            std::optional<WString> text = text_of(value);
            if (!text)
                continue;
            cut(*text);
            if (!text->empty())
                return *std::move(text);
        }
    }
    return {};
}

}  // namespace

WString subject_name(bytes subject) {
    for (const bytes type : wanted) {
        WString name = find(subject, type);
        if (!name.empty())
            return name;
    }
    return {};
}

}  // namespace orvu::sigcheck
