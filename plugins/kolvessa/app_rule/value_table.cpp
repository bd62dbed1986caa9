#include "plugins/kolvessa/app_rule/value_table.h"

#include <algorithm>
#include <stdexcept>

#include "plugins/kolvessa/app_rule/byte_hash.h"

namespace kolvessa {
namespace {

constexpr size_t first_slot_count = 16;

uint32_t hash_of(wide_view value) noexcept {
    return static_cast<uint32_t>(byte_hash(value.data(), value.size() * sizeof(orvu_wchar)));
}

}  // namespace

// The slot that holds `value`, or the free one where it belongs. The table must have slots.
size_t ValueTable::probe(wide_view value, uint32_t hash) const noexcept {
    const size_t last = slots_.size() - 1;
    for (size_t at = hash & last;; at = (at + 1) & last) {
        const Slot& slot = slots_[at];
        if (slot.number == 0) {
            return at;
        }
        if (slot.hash == hash) {
            const Record& record = records_[slot.number - 1];
            if (wide_view(text_.data() + record.offset, record.length) == value) {
                return at;
            }
        }
    }
}

void ValueTable::grow() {
    std::vector<Slot> wider(std::max(first_slot_count, slots_.size() * 2));
    const size_t last = wider.size() - 1;
    for (const Slot& slot : slots_) {
        if (slot.number != 0) {
            size_t at = slot.hash & last;
            while (wider[at].number != 0) {
                at = (at + 1) & last;
            }
            wider[at] = slot;
        }
    }
    slots_.swap(wider);
}

uint32_t ValueTable::intern(wide_view value) {
    if ((records_.size() + 1) * 3 > slots_.size() * 2) {
        grow();
    }
    const uint32_t hash = hash_of(value);
    Slot& slot = slots_[probe(value, hash)];
    if (slot.number == 0) {
        const size_t number = records_.size();
        if (number >= unmatchable) {
            throw std::length_error("too many values");
        }
        const size_t offset = text_.size();
        text_.insert(text_.end(), value.begin(), value.end());
        records_.push_back({offset, value.size()});
        slot = {hash, static_cast<uint32_t>(number + 1)};
    }
    return slot.number - 1;
}

uint32_t ValueTable::find(wide_view value) const noexcept {
    if (slots_.empty()) {
        return absent;
    }
    // A free slot's 0 wraps to `absent`.
    return slots_[probe(value, hash_of(value))].number - 1;
}

void ValueTable::shrink() {
    text_.shrink_to_fit();
    records_.shrink_to_fit();
}

void ValueTable::clear() noexcept {
    *this = ValueTable();
}

}  // namespace kolvessa
