#include "plugins/kolvessa/app_rule/appid_set.h"

#include <algorithm>

#include "plugins/kolvessa/app_rule/byte_hash.h"

namespace kolvessa {
namespace {

constexpr size_t first_slot_count = 64;

}  // namespace

size_t AppidSet::probe(uint32_t appid) const noexcept {
    const size_t last = slots_.size() - 1;
    size_t at = byte_hash(&appid, sizeof appid) & last;
    while (slots_[at] != 0 && slots_[at] != appid) {
        at = (at + 1) & last;
    }
    return at;
}

bool AppidSet::contains(uint32_t appid) const noexcept {
    if (appid == 0) {
        return has_zero_;
    }
    return !slots_.empty() && slots_[probe(appid)] == appid;
}

void AppidSet::grow() {
    std::vector<uint32_t> old(std::max(first_slot_count, slots_.size() * 2));
    old.swap(slots_);
    for (const uint32_t appid : old) {
        if (appid != 0) {
            slots_[probe(appid)] = appid;
        }
    }
}

bool AppidSet::insert(uint32_t appid) {
    if (appid == 0) {
        const bool fresh = !has_zero_;
        has_zero_ = true;
        return fresh;
    }
    if ((used_ + 1) * 2 > slots_.size()) {
        grow();
    }
    uint32_t& slot = slots_[probe(appid)];
    if (slot == appid) {
        return false;
    }
    slot = appid;
    ++used_;
    return true;
}

}  // namespace kolvessa
