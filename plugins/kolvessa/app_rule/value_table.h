#ifndef KOLVESSA_APP_RULE_VALUE_TABLE_H
#define KOLVESSA_APP_RULE_VALUE_TABLE_H

// The distinct values that rules state for one attribute, numbered from 0 in order of arrival, so
// that a file's value is looked up once and compared as a number from then on. All text lies in one
// arena and the hash table is flat: a value costs its characters and about 30 bytes. The hash is
// keyed per process, a library can't be written to make look-ups slow. Const operations may run on
// several threads at once, the others want the table for themselves.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "plugins/kolvessa/text.h"

namespace kolvessa {

class ValueTable {
  public:
    // Numbers that no value gets: of a value that isn't in the table, and (for callers) of one that
    // no file can have.
    static constexpr uint32_t absent = UINT32_MAX;
    static constexpr uint32_t unmatchable = UINT32_MAX - 1;

    // The number of `value`, entered if it is new. Throws when memory is out or 2^32 - 2 values
    // stand already; clear the table then.
    uint32_t intern(wide_view value);

    // The number of `value`, or `absent`.
    uint32_t find(wide_view value) const noexcept;

    size_t size() const noexcept { return records_.size(); }

    // Gives spare memory back after the last `intern`.
    void shrink();
    void clear() noexcept;

  private:
    struct Record {
        size_t offset;
        size_t length;
    };
    struct Slot {
        uint32_t hash;
        uint32_t number;  // of a record, plus one; 0 in a free slot
    };

    size_t probe(wide_view value, uint32_t hash) const noexcept;
    void grow();

    std::vector<orvu_wchar> text_;
    std::vector<Record> records_;
    std::vector<Slot> slots_;  // a power of two, at most two thirds full; none while empty
};

}  // namespace kolvessa

#endif  // KOLVESSA_APP_RULE_VALUE_TABLE_H
