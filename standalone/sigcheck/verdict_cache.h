#ifndef ORVU_SIGCHECK_VERDICT_CACHE_H
#define ORVU_SIGCHECK_VERDICT_CACHE_H

// Answers by file identity, the least recently used dropped first, so that a file is read once and
// not for each process that it starts. Threads that ask for the same file at once read it once: the
// others wait for the first. Any thread may call.

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "standalone/sigcheck/examine.h"
#include "standalone/sigcheck/sigcheck_host.h"

namespace orvu::sigcheck {

class VerdictCache {
  public:
    // An answer, and whether it may be kept.
    struct answer {
        verdict value;
        bool keep = false;
    };

    explicit VerdictCache(size_t limit) : limit_(limit) {}
    VerdictCache(const VerdictCache&) = delete;
    VerdictCache& operator=(const VerdictCache&) = delete;

    // The kept answer for `identity`, or that of `examine`, which is called without a lock held and
    // may throw.
    verdict get(const file_identity& identity, const std::function<answer()>& examine);

    // Counts an answer that was found without asking here.
    void count_miss();
    void set_limit(size_t entries);
    [[nodiscard]] sigcheck_counters counters() const;

  private:
    struct entry {
        file_identity identity;
        verdict value;
    };
    // One examination under way, shared by those who wait for it.
    struct flight {
        bool done = false;
        bool failed = false;
        verdict value;
    };
    struct hash {
        size_t operator()(const file_identity& identity) const;
    };

    void keep(const file_identity& identity, const verdict& value);
    void shrink();

    mutable std::mutex mutex_;
    std::condition_variable landed_;
    std::list<entry> entries_;  // most recently used first
    std::unordered_map<file_identity, std::list<entry>::iterator, hash> index_;
    std::unordered_map<file_identity, std::shared_ptr<flight>, hash> flights_;
    size_t limit_;
    uint64_t hits_ = 0;
    uint64_t misses_ = 0;
    uint64_t evicted_ = 0;
};

}  // namespace orvu::sigcheck

#endif  // ORVU_SIGCHECK_VERDICT_CACHE_H
