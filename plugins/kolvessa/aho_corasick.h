#ifndef KOLVESSA_AHO_CORASICK_H
#define KOLVESSA_AHO_CORASICK_H

// Finds, in one pass over a text, the stored patterns that occur in it. Works on bytes; a pattern
// may hold the wildcard "*", which stands for one or more bytes of any value. Patterns are not
// anchored, and case is the caller's business.
//
// The matcher is greedy on purpose: a literal edge always wins over the wildcard edge beside it and
// is never undone, so that it finds less than a backtracking wildcard match would. Its result is
// exactly that of the recursive walk "follow failure links, and let a wildcard of a shorter suffix
// state take the byte in a branch of its own"; here the branches are walked together, a byte at a
// time, and equal ones are dropped, so that the cost has a bound.
//
// Threads: add_pattern, build and clear need the object for themselves; search, has_patterns and
// memory_bytes change nothing, so any number of them may run at once after build.
//
// Failures: only room can be wanting, for patterns or in memory, which is told by exception.
// add_pattern, build and search then leave the object, and search also the caller's results, as
// they were.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "plugins/kolvessa/aho_corasick_trie.h"

namespace kolvessa {

class CAhoCorasick {
  public:
    static constexpr char wildcard = '*';

    // Stores a pattern under an id. The same pattern may come with several ids, the same id with
    // several patterns; a run of wildcards counts as one. Searches see it after the next build.
    // Throws std::length_error when the patterns together pass 2 GB.
    void add_pattern(std::string_view pattern, uint32_t id);

    // Makes all patterns added since the last clear searchable.
    void build();

    // Appends the ids found in `text` to `results`, ascending and each once; what `results` held
    // stays ahead of them. The text ends at its first NUL or at the view's end. Before the first
    // build nothing is found. A null pointer is an empty text, in which only the empty pattern is
    // found.
    void search(std::string_view text, std::vector<uint32_t>& results) const;
    void search(const char* text, std::vector<uint32_t>& results) const;

    // Drops all patterns and gives their memory back.
    void clear();

    // True when a pattern that is not empty is stored, built or not. Callers skip the search
    // otherwise, so that an empty pattern on its own is never seen by them.
    [[nodiscard]] bool has_patterns() const;

    // The memory that the object holds on the heap.
    [[nodiscard]] size_t memory_bytes() const;

  private:
    std::string bytes_;  // all patterns, end to end
    std::vector<StoredPattern> patterns_;
    bool any_not_empty_ = false;
    Trie trie_;
};

}  // namespace kolvessa

#endif  // KOLVESSA_AHO_CORASICK_H
