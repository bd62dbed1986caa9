#include "plugins/kolvessa/platform/version_query.h"

#include "plugins/kolvessa/platform/little_endian.h"

namespace kolvessa::platform {

namespace {

// A node: its length, its value's length and type in 16 bits each, the key with its NUL, then, at a
// multiple of 4, the value and, at the next one, the nodes inside it. The value's length counts
// characters when the type says text.
constexpr size_t KEY_OFFSET = 6;
constexpr size_t TYPE_OFFSET = 4;

size_t round_up(size_t value) {
    return (value + 3) & ~size_t{3};
}

orvu_wchar lower(orvu_wchar c) {
    return c >= 'A' && c <= 'Z' ? static_cast<orvu_wchar>(c + ('a' - 'A')) : c;
}

struct node {
    size_t offset = 0;
    size_t length = 0;
    size_t key_length = 0;  // in characters
    size_t value = 0;
};

bool read_node(std::span<const uint8_t> block, size_t offset, size_t end, node& out) {
    if (offset + KEY_OFFSET + 2 > end) {
        return false;
    }
    out = {offset, u16_at(block.data() + offset), 0, 0};
    size_t at = offset + KEY_OFFSET;
    while (at + 2 <= end && u16_at(block.data() + at) != 0) {
        at += 2;
    }
    out.key_length = (at - offset - KEY_OFFSET) / 2;
    out.value = offset + round_up(at + 2 - offset);
    return at + 2 <= end && out.length != 0 && out.length <= end - offset;
}

bool key_equals(std::span<const uint8_t> block, const node& candidate, const orvu_wchar* key,
                size_t length) {
    if (candidate.key_length != length) {
        return false;
    }
    const uint8_t* own = block.data() + candidate.offset + KEY_OFFSET;
    for (size_t i = 0; i < length; ++i) {
        if (lower(u16_at(own + 2 * i)) != lower(key[i])) {
            return false;
        }
    }
    return true;
}

bool find_child(std::span<const uint8_t> block, const node& parent, const orvu_wchar* key,
                size_t length, node& out) {
    const size_t end = parent.offset + parent.length;
    const size_t unit = u16_at(block.data() + parent.offset + TYPE_OFFSET) != 0 ? 2 : 1;
    size_t at = parent.value + round_up(unit * u16_at(block.data() + parent.offset + 2));
    while (at < end && read_node(block, at, end, out)) {
        if (key_equals(block, out, key, length)) {
            return true;
        }
        at += round_up(out.length);
    }
    return false;
}

}  // namespace

bool version_query(std::span<const uint8_t> block, const orvu_wchar* sub_block,
                   version_value& value) {
    node current;
    if (sub_block == nullptr || !read_node(block, 0, block.size(), current)) {
        return false;
    }
    while (*sub_block != 0) {
        if (*sub_block == '\\') {
            ++sub_block;
            continue;
        }
        size_t length = 0;
        while (sub_block[length] != 0 && sub_block[length] != '\\') {
            ++length;
        }
        node child;
        if (!find_child(block, current, sub_block, length, child)) {
            return false;
        }
        current = child;
        sub_block += length;
    }
    // A node that ends with its key has its value, which is empty, at most 3 bytes behind itself.
    value.data = block.data() + (current.value < block.size() ? current.value : block.size());
    value.length = u16_at(block.data() + current.offset + 2);
    return true;
}

}  // namespace kolvessa::platform
