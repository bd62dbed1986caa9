#include "standalone/sigcheck/verdict_cache.h"

#include <utility>

namespace orvu::sigcheck {

size_t VerdictCache::hash::operator()(const file_identity& identity) const {
    uint64_t mixed = 0;
    for (const uint64_t part :
         {identity.device, identity.inode, identity.size, static_cast<uint64_t>(identity.modified),
          static_cast<uint64_t>(identity.changed)}) {
        mixed = (mixed ^ part) * 0x9E3779B97F4A7C15U;
        mixed ^= mixed >> 32;
    }
    return mixed;
}

verdict VerdictCache::get(const file_identity& identity, const std::function<answer()>& examine) {
    std::unique_lock lock(mutex_);
    for (;;) {
        if (const auto found = index_.find(identity); found != index_.end()) {
            hits_++;
            entries_.splice(entries_.begin(), entries_, found->second);
            return found->second->value;
        }
        const auto flying = flights_.find(identity);
        if (flying == flights_.end())
            break;
        const std::shared_ptr<flight> other = flying->second;
        landed_.wait(lock, [&] { return other->done; });
        if (!other->failed) {
            hits_++;
            return other->value;
        }
    }
    misses_++;
    const auto mine = std::make_shared<flight>();
    flights_.emplace(identity, mine);
    lock.unlock();

    // Whatever happens to the examination, those who wait must hear of it.
    struct landing {
        VerdictCache& cache;
        const file_identity& identity;
        flight& mine;
        std::unique_lock<std::mutex>& lock;
        ~landing() {
            if (!lock.owns_lock())
                lock.lock();
            mine.done = true;
            const auto at = cache.flights_.find(identity);
            if (at != cache.flights_.end() && at->second.get() == &mine)
                cache.flights_.erase(at);
            cache.landed_.notify_all();
        }
    };
    mine->failed = true;
    const landing at_the_end{*this, identity, *mine, lock};
    answer fresh = examine();
    lock.lock();
    if (fresh.keep) {
        mine->value = fresh.value;
        mine->failed = false;
        keep(identity, fresh.value);
    }
    return std::move(fresh.value);
}

void VerdictCache::keep(const file_identity& identity, const verdict& value) {
    if (limit_ == 0)
        return;
    entries_.push_front({identity, value});
    try {
        index_[identity] = entries_.begin();
    } catch (...) {
        entries_.pop_front();
        throw;
    }
    shrink();
}

void VerdictCache::shrink() {
    while (entries_.size() > limit_) {
        index_.erase(entries_.back().identity);
        entries_.pop_back();
        evicted_++;
    }
}

void VerdictCache::count_miss() {
    const std::lock_guard lock(mutex_);
    misses_++;
}

void VerdictCache::set_limit(size_t entries) {
    const std::lock_guard lock(mutex_);
    limit_ = entries;
    shrink();
}

sigcheck_counters VerdictCache::counters() const {
    const std::lock_guard lock(mutex_);
    return {hits_, misses_, evicted_, entries_.size()};
}

}  // namespace orvu::sigcheck
