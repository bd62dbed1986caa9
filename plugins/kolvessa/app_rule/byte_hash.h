#ifndef KOLVESSA_APP_RULE_BYTE_HASH_H
#define KOLVESSA_APP_RULE_BYTE_HASH_H

// The hash behind the tables of a re-parse: quick on short texts, and keyed by a number that
// differs from process to process, so that who writes a library doesn't know which values collide.
// Any thread may call; nothing fails.

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kolvessa {

// The process's key, taken at the first call.
uint64_t byte_hash_key() noexcept;

// Multiplies to 128 bits and folds both halves together.
inline uint64_t fold_multiply(uint64_t a, uint64_t b) noexcept {
    __extension__ using wide = unsigned __int128;
    const wide product = static_cast<wide>(a) * b;
    return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64);
}

inline uint64_t byte_hash(const void* data, size_t size) noexcept {
    constexpr uint64_t odd_a = 0x9e3779b97f4a7c15U;
    constexpr uint64_t odd_b = 0xd1342543de82ef95U;
    const auto* bytes = static_cast<const unsigned char*>(data);
    uint64_t state = byte_hash_key() ^ (size * odd_a);
    uint64_t word = 0;
    for (; size >= sizeof word; bytes += sizeof word, size -= sizeof word) {
        std::memcpy(&word, bytes, sizeof word);
        state = fold_multiply(state ^ word, odd_b);
    }
    word = 0;
    for (size_t i = 0; i < size; ++i) {
        word |= static_cast<uint64_t>(bytes[i]) << (8 * i);
    }
    return fold_multiply(state ^ word, odd_a);
}

}  // namespace kolvessa

#endif  // KOLVESSA_APP_RULE_BYTE_HASH_H
