#include "plugins/kolvessa/kolvessa/version_block.h"

#include <algorithm>

namespace kolvessa {

namespace {

// A node: its length, its value's length and type in 16 bits each, a key with its NUL, then, at a
// multiple of 4, the value and, at the next one, the nodes inside it. The value's length counts
// characters when the type says text.
constexpr size_t KEY_OFFSET = 6;
constexpr size_t SMALLEST_NODE = KEY_OFFSET + 2;
constexpr size_t TYPE_OFFSET = 4;
constexpr int DEPTH = 3;  // a query goes down through list and table to a string

size_t round_up(size_t value) {
    return (value + 3) & ~size_t{3};
}

size_t u16_at(std::span<const uint8_t> block, size_t offset) {
    return block[offset] | static_cast<size_t>(block[offset + 1]) << 8;
}

void put_u16(std::span<uint8_t> block, size_t offset, size_t value) {
    block[offset] = static_cast<uint8_t>(value & 0xFF);
    block[offset + 1] = static_cast<uint8_t>(value >> 8);
}

// Where the key's NUL ends, or 0 when the node has none.
size_t key_end(std::span<const uint8_t> block, size_t node, size_t end) {
    for (size_t at = node + KEY_OFFSET; at + 2 <= end; at += 2) {
        if (u16_at(block, at) == 0) {
            return at + 2;
        }
    }
    return 0;
}

// NOLINTNEXTLINE(misc-no-recursion): three levels, and each byte is in one node of each
void bound_children(std::span<uint8_t> block, size_t node, int depth) {
    const size_t end = node + u16_at(block, node);
    const size_t value = node + round_up(key_end(block, node, end) - node);
    const size_t unit = u16_at(block, node + TYPE_OFFSET) != 0 ? 2 : 1;
    size_t at = value + round_up(unit * u16_at(block, node + 2));
    while (at < end) {
        const size_t left = end - at;
        const size_t length = left < SMALLEST_NODE ? 0 : std::min(u16_at(block, at), left);
        if (length < SMALLEST_NODE || key_end(block, at, at + length) == 0) {
            std::fill_n(block.begin() + static_cast<std::ptrdiff_t>(at), left, uint8_t{0});
            return;
        }
        // The system finds a last node that claims more than is left, so it stays.
        put_u16(block, at, length);
        if (depth > 1) {
            bound_children(block, at, depth - 1);
        }
        at += round_up(length);
    }
}

}  // namespace

size_t bound_version_block(std::span<uint8_t> block) {
    // The system reads the header of the node that should follow before it looks for the end.
    if (block.size() < 2 * SMALLEST_NODE) {
        return 0;
    }
    const size_t length = std::min(u16_at(block, 0), block.size() - SMALLEST_NODE);
    if (length < SMALLEST_NODE || key_end(block, 0, length) == 0) {
        return 0;
    }
    put_u16(block, 0, length);
    // A type beyond 1 would make the system read the block in its old 8-bit layout.
    block[TYPE_OFFSET] &= 1;
    block[TYPE_OFFSET + 1] = 0;
    bound_children(block, 0, DEPTH);
    return length;
}

}  // namespace kolvessa
