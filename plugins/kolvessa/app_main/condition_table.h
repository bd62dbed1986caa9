#ifndef KOLVESSA_APP_MAIN_CONDITION_TABLE_H
#define KOLVESSA_APP_MAIN_CONDITION_TABLE_H

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "orvu_core.h"
#include "plugins/kolvessa/thread_annotations.h"

namespace kolvessa {

// The live conditions of one executor, each with the library names that it asked about, and the
// reports to the host whether these are present.
//
// Callbacks and refreshes may come from different threads at once. The table's mutex is never held
// during a call to the host, so a report may be overtaken; whoever reported looks afterwards
// whether its answer still stands and reports again if not, so the host always has the newest
// answer last. Nothing throws: without memory a condition is reported as not fulfilled.
class ConditionTable {
  public:
    // Whether a library of that name is present. Asked from any thread, under the table's mutex:
    // it must not call the host.
    using Lookup = bool (*)(std::string_view name);

    explicit ConditionTable(Lookup present) : present_(present) {}

    // The executor's callback. Operation 0 attaches: the strings of the "type" array among the
    // condition's parameters are added to its names, and the result is 1 when all of this array
    // are present; an element that is no string names no library and can't be. Operation 1
    // detaches, any other does nothing; both report 1. Always ends with one report or, when it was
    // overtaken, more. Gives 0.
    int32_t callback(orvu_cond condition, int32_t operation) noexcept EXCLUDES(mutex_);

    // Reports every live condition, in ascending order, whether its answer changed or not. To be
    // called after the libraries changed.
    void refresh() noexcept EXCLUDES(mutex_);

  private:
    using Names = std::set<std::string, std::less<>>;
    struct Entry {
        Names names;
        uint64_t revision = 0;  // counts what was added
    };

    void attach(orvu_cond condition) EXCLUDES(mutex_);
    void report(orvu_cond condition) EXCLUDES(mutex_);
    bool all_present(const Names& names) const REQUIRES(mutex_);
    bool next_after(orvu_cond& condition) const EXCLUDES(mutex_);

    const Lookup present_;
    mutable Mutex mutex_;
    std::map<orvu_cond, Entry> conditions_ GUARDED_BY(mutex_);
    uint64_t refreshes_ GUARDED_BY(mutex_) = 0;
};

}  // namespace kolvessa

#endif  // KOLVESSA_APP_MAIN_CONDITION_TABLE_H
