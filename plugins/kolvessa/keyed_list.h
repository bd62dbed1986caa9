#ifndef KOLVESSA_KEYED_LIST_H
#define KOLVESSA_KEYED_LIST_H

// A list of items with distinct keys in the order of their arrival, made to be filled and cleared
// many times over. A few items live in the object and are compared one by one; more of them spill
// to the heap, with a table of stamped slots that a clear empties by moving to the next stamp.
//
// Belongs to one thread. place throws std::bad_alloc, and the list then is only good for
// destruction.

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace kolvessa {

class KeyedList {
  public:
    struct Item {
        uint32_t key;
        uint32_t value;
    };

    // The item with that key, and true when it was not there and was made with `value`. The pointer
    // holds until the next call.
    std::pair<Item*, bool> place(uint32_t key, uint32_t value) {
        if (size_ >= kInside) {
            return place_in_table(key, value);
        }
        const uint64_t bit = uint64_t{1} << (hash(key) >> 58);
        if ((filter_ & bit) != 0) {
            for (size_t at = 0; at < size_; ++at) {
                if (inside_[at].key == key) {
                    return {&inside_[at], false};
                }
            }
        }
        filter_ |= bit;
        inside_[size_] = {key, value};
        return {&inside_[size_++], true};
    }

    void clear() {
        size_ = 0;
        filter_ = 0;
    }

    [[nodiscard]] size_t size() const { return size_; }
    [[nodiscard]] const Item* begin() const {
        return size_ <= kInside ? inside_.data() : heap_.data();
    }
    [[nodiscard]] const Item* end() const { return begin() + size_; }

  private:
    static constexpr size_t kInside = 16;
    static constexpr size_t kSmallestTable = 64;

    struct Slot {
        uint32_t key = 0;
        uint32_t stamp = 0;
        uint32_t index = 0;
    };

    static uint64_t hash(uint32_t key) { return key * 0x9e3779b97f4a7c15; }

    // The slot of the key, or the free one where it belongs.
    Slot& slot_of(uint32_t key) {
        const size_t mask = table_.size() - 1;
        size_t at = static_cast<size_t>(hash(key) >> 32) & mask;
        while (table_[at].stamp == stamp_ && table_[at].key != key) {
            at = (at + 1) & mask;
        }
        return table_[at];
    }

    void fill_table(size_t slots) {
        if (table_.size() < slots || ++stamp_ == 0) {
            table_.assign(slots, Slot{});
            stamp_ = 1;
        }
        uint32_t index = 0;
        for (const Item& item : *this) {
            slot_of(item.key) = {item.key, stamp_, index++};
        }
    }

    // The items are inside until the first that finds no room there moves them to the heap.
    std::pair<Item*, bool> place_in_table(uint32_t key, uint32_t value) {
        if (size_ == kInside) {
            fill_table(table_.size() < kSmallestTable ? kSmallestTable : table_.size());
        } else if (size_ * 2 >= table_.size()) {
            fill_table(table_.size() * 2);
        }
        Slot& slot = slot_of(key);
        if (slot.stamp == stamp_) {
            return {size_ == kInside ? &inside_[slot.index] : &heap_[slot.index], false};
        }
        slot = {key, stamp_, static_cast<uint32_t>(size_)};
        if (size_ == kInside) {
            heap_.assign(inside_.begin(), inside_.end());
        }
        heap_.push_back({key, value});
        ++size_;
        return {&heap_.back(), true};
    }

    size_t size_ = 0;
    uint64_t filter_ = 0;  // a clear bit tells that no key inside has it
    uint32_t stamp_ = 0;
    std::array<Item, kInside> inside_;  // deliberately not zeroed
    std::vector<Item> heap_;
    std::vector<Slot> table_;
};

}  // namespace kolvessa

#endif  // KOLVESSA_KEYED_LIST_H
