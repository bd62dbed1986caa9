#ifndef KOLVESSA_START_LISTS_H
#define KOLVESSA_START_LISTS_H

// Ascending linked lists of distinct node numbers, out of one pool: for each node that live
// branches of a search stand on, the nodes at which these branches started. Lists are named by
// their head; a list handed to merge or emptied by remove is gone.
//
// Belongs to one thread. one throws std::bad_alloc, the others need no memory.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace kolvessa {

class StartLists {
  public:
    static constexpr uint32_t kEmpty = 0xffffffff;

    StartLists() = default;
    StartLists(const StartLists&) = delete;
    StartLists& operator=(const StartLists&) = delete;

    uint32_t one(uint32_t start) {
        if (free_ == kEmpty) {
            if (used_ == capacity()) {
                grow();
            }
            data_[used_] = {start, kEmpty};
            return static_cast<uint32_t>(used_++);
        }
        const uint32_t made = free_;
        free_ = data_[made].next;
        data_[made] = {start, kEmpty};
        return made;
    }

    // The union of two lists.
    uint32_t merge(uint32_t one, uint32_t other) {
        uint32_t head = kEmpty;
        uint32_t* end = &head;
        while (one != kEmpty && other != kEmpty) {
            const uint32_t a = data_[one].start;
            const uint32_t b = data_[other].start;
            uint32_t& lesser = a <= b ? one : other;
            const uint32_t taken = lesser;
            if (a == b) {
                other = release(other);
            }
            lesser = data_[taken].next;
            *end = taken;
            end = &data_[taken].next;
        }
        *end = one != kEmpty ? one : other;
        return head;
    }

    // True when `start` was in the list.
    bool remove(uint32_t& head, uint32_t start) {
        uint32_t* link = &head;
        while (*link != kEmpty && data_[*link].start < start) {
            link = &data_[*link].next;
        }
        if (*link == kEmpty || data_[*link].start != start) {
            return false;
        }
        *link = release(*link);
        return true;
    }

  private:
    static constexpr size_t kInside = 32;

    struct Start {
        uint32_t start;
        uint32_t next;
    };

    [[nodiscard]] size_t capacity() const { return heap_.empty() ? kInside : heap_.size(); }

    void grow() {
        std::vector<Start> larger(capacity() * 2);
        for (size_t at = 0; at < used_; ++at) {
            larger[at] = data_[at];
        }
        heap_.swap(larger);
        data_ = heap_.data();
    }

    // Gives an entry back to the pool and returns what followed it.
    uint32_t release(uint32_t entry) {
        const uint32_t next = data_[entry].next;
        data_[entry].next = free_;
        free_ = entry;
        return next;
    }

    size_t used_ = 0;
    uint32_t free_ = kEmpty;
    std::array<Start, kInside> inside_;  // deliberately not zeroed
    std::vector<Start> heap_;
    Start* data_ = inside_.data();
};

}  // namespace kolvessa

#endif  // KOLVESSA_START_LISTS_H
