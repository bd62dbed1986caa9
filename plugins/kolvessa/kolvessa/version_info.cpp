#include "plugins/kolvessa/kolvessa/version_info.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "plugins/kolvessa/kolvessa/version_block.h"
#include "plugins/kolvessa/platform/version_query.h"

namespace kolvessa {

namespace {

constexpr const orvu_wchar* STRINGS = ORVU_TEXT("\\StringFileInfo");
constexpr size_t QUERY_CAPACITY = 128;
constexpr size_t TABLE_KEY_ADVANCE = 8;

using query_text = std::array<orvu_wchar, QUERY_CAPACITY>;

// "\StringFileInfo\" with the translation in eight hexadecimal digits and the key; cut at the
// buffer's end.
query_text string_query(uint32_t translation, const orvu_wchar* key) {
    query_text text{};
    size_t length = wide_view(STRINGS).copy(text.data(), text.size());
    text[length++] = '\\';
    for (int shift = 28; shift >= 0; shift -= 4) {
        text[length++] = static_cast<orvu_wchar>("0123456789abcdef"[translation >> shift & 0xF]);
    }
    text[length++] = '\\';
    while (*key != 0 && length + 1 < text.size()) {
        text[length++] = *key++;
    }
    return text;
}

// A value's bytes as far as the block goes.
std::span<const uint8_t> within(const VersionInfoReader& reader, const uint8_t* data,
                                size_t bytes) {
    const uint8_t* end = reader.data.get() + reader.size;
    if (data < reader.data.get() || data > end) {
        return {};
    }
    return {data, std::min(bytes, static_cast<size_t>(end - data))};
}

bool query(const VersionInfoReader& reader, const orvu_wchar* text,
           platform::version_value& value) {
    return reader.data != nullptr && reader.size != 0 &&
           platform::version_query({reader.data.get(), reader.size}, text, value);
}

uint32_t u16_at(const uint8_t* bytes) {
    return bytes[0] | static_cast<uint32_t>(bytes[1]) << 8;
}

// The number at the start of a wide text, up to the first character that is no hexadecimal digit.
uint32_t leading_hex(std::span<const uint8_t> text) {
    uint64_t number = 0;
    for (size_t i = 0; i + 2 <= text.size(); i += 2) {
        const uint32_t c = u16_at(text.data() + i);
        const uint32_t small = c | 0x20;
        if (c >= '0' && c <= '9') {
            number = number << 4 | (c - '0');
        } else if (c < 0x80 && small >= 'a' && small <= 'f') {
            number = number << 4 | (small - 'a' + 10);
        } else {
            break;
        }
        number = std::min<uint64_t>(number, UINT32_MAX);
    }
    return static_cast<uint32_t>(number);
}

// Finds the language and code page under which the file keeps its strings.
void settle_translation(VersionInfoReader& reader) {
    platform::version_value value;
    if (!query(reader, ORVU_TEXT("\\VarFileInfo\\Translation"), value)) {
        return;
    }
    // The first entry is taken whatever length the array states, as far as the block goes.
    const std::span<const uint8_t> first = within(reader, value.data, 4);
    if (first.size() == 4) {
        reader.translation = u16_at(first.data()) << 16 | u16_at(first.data() + 2);
    }
    const query_text check = string_query(reader.translation, ORVU_TEXT("OriginalFilename"));
    if (query(reader, check.data(), value) && value.length > 1) {
        return;
    }
    if (query(reader, STRINGS, value)) {
        // The first table's key begins 6 bytes on; reading starts at its second digit on purpose.
        const std::span<const uint8_t> table = within(reader, value.data, reader.size);
        reader.translation = leading_hex(table.subspan(std::min(TABLE_KEY_ADVANCE, table.size())));
    }
}

}  // namespace

int32_t version_info_open(VersionInfoReader& reader, platform::ExecutableFile& file) {
    const uint32_t size = file.version_size();
    if (size == 0) {
        return 1;
    }
    reader.data.reset(static_cast<uint8_t*>(orvu_malloc_(size)));
    if (!reader.data) {
        return 0;
    }
    std::memset(reader.data.get(), 0, size);
    const std::span<uint8_t> block(reader.data.get(), size);
    if (!file.version_read(block)) {
        return 2;
    }
    reader.size = bound_version_block(block);
    settle_translation(reader);
    return 0;
}

int32_t version_info_open(VersionInfoReader& reader, const orvu_wchar* path) {
    platform::ExecutableFile file(path);
    return version_info_open(reader, file);
}

int32_t version_info_query(const VersionInfoReader& reader, const orvu_wchar* key,
                           wide_string& out) {
    const query_text text = string_query(reader.translation, key);
    platform::version_value value;
    if (!query(reader, text.data(), value)) {
        return 1;
    }
    if (value.length < 2) {
        return 2;
    }
    const std::span<const uint8_t> bytes =
        within(reader, value.data, value.length * sizeof(orvu_wchar));
    wide_string found;
    found.reserve(bytes.size() / 2);
    for (size_t i = 0; i + 2 <= bytes.size(); i += 2) {
        found += static_cast<orvu_wchar>(u16_at(bytes.data() + i));
    }
    if (found.empty()) {
        return 1;
    }
    out = std::move(found);
    return 0;
}

}  // namespace kolvessa
