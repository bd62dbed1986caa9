#ifndef KOLVESSA_DISTINCT_LIST_H
#define KOLVESSA_DISTINCT_LIST_H

// A list of distinct 64-bit values in the order of their arrival, made to be filled and cleared
// many times over. A few values live in the object and are compared one by one; more of them spill
// to the heap, with a table of stamped slots that a clear empties by moving to the next stamp.
//
// Belongs to one thread. insert throws std::bad_alloc, and the list then is only good for
// destruction.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace kolvessa {

class DistinctList {
  public:
    // True when the value was not there.
    bool insert(uint64_t value) {
        if (size_ < kInside) {
            const uint64_t bit = filter_bit(value);
            if ((filter_ & bit) != 0 && std::find(inside_.begin(), inside_.begin() + size_,
                                                  value) != inside_.begin() + size_) {
                return false;
            }
            filter_ |= bit;
            inside_[size_++] = value;
            return true;
        }
        return insert_in_table(value);
    }

    [[nodiscard]] bool contains(uint64_t value) {
        if (inside()) {
            return (filter_ & filter_bit(value)) != 0 && std::find(begin(), end(), value) != end();
        }
        return slot_of(value).stamp == stamp_;
    }

    void clear() {
        size_ = 0;
        filter_ = 0;
    }
    [[nodiscard]] size_t size() const { return size_; }
    [[nodiscard]] const uint64_t* begin() const { return inside() ? inside_.data() : heap_.data(); }
    [[nodiscard]] const uint64_t* end() const { return begin() + size_; }

  private:
    static constexpr size_t kInside = 16;
    static constexpr size_t kSmallestTable = 64;

    struct Slot {
        uint64_t value = 0;
        uint32_t stamp = 0;
    };

    static uint64_t hash(uint64_t value) { return value * 0x9e3779b97f4a7c15; }
    static uint64_t filter_bit(uint64_t value) { return uint64_t{1} << (hash(value) >> 58); }
    [[nodiscard]] bool inside() const { return size_ <= kInside; }

    // The slot that holds the value or is free for it.
    Slot& slot_of(uint64_t value) {
        const size_t mask = table_.size() - 1;
        size_t at = static_cast<size_t>(hash(value) >> 32) & mask;
        while (table_[at].stamp == stamp_ && table_[at].value != value) {
            at = (at + 1) & mask;
        }
        return table_[at];
    }

    void fill_table(size_t slots, const uint64_t* values) {
        if (table_.size() < slots || ++stamp_ == 0) {
            table_.assign(slots, Slot{});
            stamp_ = 1;
        }
        for (size_t at = 0; at < size_; ++at) {
            slot_of(values[at]) = {values[at], stamp_};
        }
    }

    bool insert_in_table(uint64_t value) {
        if (size_ == kInside) {
            fill_table(table_.size() < kSmallestTable ? kSmallestTable : table_.size(),
                       inside_.data());
        } else if (size_ * 2 >= table_.size()) {
            fill_table(table_.size() * 2, heap_.data());
        }
        Slot& slot = slot_of(value);
        if (slot.stamp == stamp_) {
            return false;
        }
        slot = {value, stamp_};
        if (size_ == kInside) {
            heap_.assign(inside_.begin(), inside_.end());
        }
        heap_.push_back(value);
        ++size_;
        return true;
    }

    size_t size_ = 0;
    uint64_t filter_ = 0;  // a clear bit tells that a value is not inside
    uint32_t stamp_ = 0;
    std::array<uint64_t, kInside> inside_;  // deliberately not zeroed
    std::vector<uint64_t> heap_;
    std::vector<Slot> table_;
};

}  // namespace kolvessa

#endif  // KOLVESSA_DISTINCT_LIST_H
