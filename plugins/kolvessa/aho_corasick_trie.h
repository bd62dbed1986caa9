#ifndef KOLVESSA_AHO_CORASICK_TRIE_H
#define KOLVESSA_AHO_CORASICK_TRIE_H

// The finished automaton of the path matcher: an arena of nodes that refer to each other by index.
//
// Nodes are numbered in depth-first order of the sorted patterns, the root being 0, so that an only
// child follows its parent directly and a walk along a pattern reads memory in order. A node with
// several children has a record with a range of labels and targets; the root and its wildcard child
// have full tables besides. Outputs are shared: a node refers to one record of ids, which links to
// the record that its failure node contributes, so that the merged sets are never copied. Index 0
// stands for "none" throughout: the root is nobody's child, and records are numbered from 1.
//
// A Trie is immutable once made; every member function may be called from any thread.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace kolvessa {

inline constexpr uint8_t kWildcardByte = '*';

// One stored pattern: its bytes in the caller's arena, runs of wildcards already made one.
struct StoredPattern {
    uint32_t begin;
    uint32_t length;
    uint32_t id;
};

struct TrieNode {
    uint32_t fail = 0;   // the failure node; the root where there is none
    uint32_t extra = 0;  // with kFork an index into forks, else the output record
};

class Trie {
  public:
    // What the search asks of a node at each byte, kept apart from the rest for density.
    enum Flags : uint8_t {
        kOnlyChild = 1,   // exactly one child, the next node
        kFork = 2,        // the children stand in forks[extra]
        kWildChild = 4,   // a wildcard edge leads on
        kOnWildcard = 8,  // the edge that leads here is a wildcard
        kOutput = 16,     // some pattern ends here or at a node along the failure links
        kFailWild = 32    // the failure node has a wildcard child
    };

    Trie() = default;
    // Throws std::bad_alloc; `patterns` is put in order, which changes nothing for a later call.
    Trie(const std::string& bytes, std::vector<StoredPattern>& patterns);

    [[nodiscard]] bool built() const { return !cells_.empty(); }
    [[nodiscard]] uint8_t flags(uint32_t node) const { return cells_[node].flags; }
    [[nodiscard]] uint32_t fail(uint32_t node) const { return nodes_[node].fail; }
    [[nodiscard]] size_t memory_bytes() const;

    // The child of `node` for a byte, the wildcard byte included, or 0.
    [[nodiscard]] uint32_t child(uint32_t node, uint8_t byte) const {
        if (node == 0) {
            return root_[byte];
        }
        const uint8_t flags = cells_[node].flags;
        if ((flags & kOnlyChild) != 0) {
            return cells_[node + 1].label == byte ? node + 1 : 0;
        }
        return (flags & kFork) != 0 ? child_in_fork(forks_[nodes_[node].extra], byte) : 0;
    }

    // The wildcard child of a node that has kWildChild.
    [[nodiscard]] uint32_t wild_child(uint32_t node) const {
        return (cells_[node].flags & kOnlyChild) != 0 ? node + 1 : forks_[nodes_[node].extra].wild;
    }

    // The root's wildcard child, or 0, and that node's child for a byte, or 0.
    [[nodiscard]] uint32_t leading_wildcard() const { return leading_; }
    [[nodiscard]] uint32_t behind_leading_wildcard(uint8_t byte) const {
        return behind_leading_[byte];
    }

    // The output record of a node that has kOutput; records are numbered from 1.
    [[nodiscard]] uint32_t output(uint32_t node) const {
        const uint32_t extra = nodes_[node].extra;
        return (cells_[node].flags & kFork) != 0 ? forks_[extra].output : extra;
    }
    [[nodiscard]] uint32_t next_output(uint32_t record) const { return outputs_[record].next; }
    [[nodiscard]] const uint32_t* ids_begin(uint32_t record) const {
        return ids_.data() + outputs_[record].ids;
    }
    [[nodiscard]] const uint32_t* ids_end(uint32_t record) const {
        return ids_.data() + outputs_[record + 1].ids;
    }

  private:
    struct Cell {
        uint8_t flags = 0;
        uint8_t label = 0;
    };
    struct Fork {
        uint32_t edges = 0;  // into labels_ and targets_
        uint32_t count = 0;
        uint32_t wild = 0;
        uint32_t output = 0;
    };
    struct Output {
        uint32_t ids = 0;   // into ids_, up to the next record's
        uint32_t next = 0;  // the record that the failure node adds
    };
    // A child that is not its parent's first.
    struct Sibling {
        uint32_t parent;
        uint32_t child;
    };
    struct Builder;

    // Eight labels at a time; the array is padded for the last read.
    [[nodiscard]] uint32_t child_in_fork(const Fork& fork, uint8_t byte) const {
        constexpr uint64_t kOnes = 0x0101010101010101;
        for (uint32_t at = 0; at < fork.count; at += 8) {
            uint64_t labels = 0;
            std::memcpy(&labels, labels_.data() + fork.edges + at, sizeof labels);
            const uint64_t differ = labels ^ (kOnes * byte);
            const uint64_t zeros = (differ - kOnes) & ~differ & (kOnes << 7);
            if (zeros != 0) {
                const uint32_t index = at + static_cast<uint32_t>(std::countr_zero(zeros)) / 8;
                return index < fork.count ? targets_[fork.edges + index] : 0;
            }
        }
        return 0;
    }

    void set_output(uint32_t node, uint32_t record);

    std::vector<Cell> cells_;
    std::vector<TrieNode> nodes_;
    std::vector<Fork> forks_;
    std::vector<uint8_t> labels_;
    std::vector<uint32_t> targets_;
    std::vector<Output> outputs_;
    std::vector<uint32_t> ids_;
    std::vector<uint32_t> root_;
    uint32_t leading_ = 0;
    std::vector<uint32_t> behind_leading_;  // empty without a leading wildcard
};

static_assert(std::endian::native == std::endian::little, "child_in_fork counts labels from below");

}  // namespace kolvessa

#endif  // KOLVESSA_AHO_CORASICK_TRIE_H
