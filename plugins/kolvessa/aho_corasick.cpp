#include "plugins/kolvessa/aho_corasick.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace kolvessa {

void CAhoCorasick::add_pattern(std::string_view pattern, uint32_t id) {
    constexpr size_t kLimit = size_t{1} << 31;  // node numbers leave their top bit to the search
    const size_t begin = bytes_.size();
    if (pattern.size() >= kLimit - begin || patterns_.size() >= kLimit) {
        throw std::length_error("the patterns of a matcher pass 2 GB");
    }
    bytes_.append(pattern);
    try {
        const auto run = [](char a, char b) {
            return a == wildcard && b == wildcard;
        };
        const auto from = bytes_.begin() + static_cast<std::ptrdiff_t>(begin);
        const auto length = static_cast<size_t>(std::unique(from, bytes_.end(), run) - from);
        patterns_.push_back({static_cast<uint32_t>(begin), static_cast<uint32_t>(length), id});
        bytes_.resize(begin + length);
    } catch (...) {
        bytes_.resize(begin);
        throw;
    }
    any_not_empty_ = any_not_empty_ || !pattern.empty();
}

void CAhoCorasick::build() {
    trie_ = Trie(bytes_, patterns_);
    bytes_.shrink_to_fit();
    patterns_.shrink_to_fit();
}

void CAhoCorasick::clear() {
    *this = CAhoCorasick();
}

bool CAhoCorasick::has_patterns() const {
    return any_not_empty_;
}

size_t CAhoCorasick::memory_bytes() const {
    const bool on_heap = bytes_.capacity() > std::string().capacity();
    return (on_heap ? bytes_.capacity() + 1 : 0) + patterns_.capacity() * sizeof(StoredPattern) +
           trie_.memory_bytes();
}

}  // namespace kolvessa
