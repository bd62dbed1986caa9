#ifndef KOLVESSA_KOLVESSA_KOLVESSA_H
#define KOLVESSA_KOLVESSA_KOLVESSA_H

#include <atomic>
#include <cstdint>
#include <map>
#include <string_view>
#include <vector>

#include "plugins/kolvessa/app_rule/app_rule.h"
#include "plugins/kolvessa/app_rule/rule_element.h"
#include "plugins/kolvessa/kolvessa/app_info.h"
#include "plugins/kolvessa/lock.h"
#include "plugins/kolvessa/text.h"
#include "plugins/kolvessa/thread_annotations.h"

namespace kolvessa {

// The outcome of a decision. `code`:
//   0  made, nothing went wrong: a relation was accepted, or the parent's were inherited, or there
//      is no rule for the file and no parent to ask, or no rule at all
//   1  no attribute of the file could be had
//   3  rules matched, and the framework refused every relation
//   4  no rule matched, and the framework refused inheritance from the parent
struct IdentResult {
    uint32_t code = 0;
    uint32_t reserved = 0;
};

// Process identification: the rules, the decision about a process, and the queue that bridges a
// sweep. The object is the read/write lock of all that: process events hold it shared, a change of
// the rules holds it exclusive. It is made once by the entry, handed to the driver as the context
// of its events, and never destroyed after that, since no thread of the plug-in ever ends.
class CKolvessa : public CRwLock {
  public:
    using ProcessMap = std::map<uint32_t, uint32_t>;  // process to parent

    // True for the first caller, who is then the one to run `kolvessa_start`: after a failed start
    // a slow thread of the first try may come upon the object of the second.
    bool claim_start() noexcept { return !claimed_.exchange(true); }

    // Brings the process side up, once, on its own thread: the libraries of the list file, then the
    // driver's events. 0, also when libraries could not be loaded; r * 100 + 23 when the driver
    // refused the registration with r. Takes no lock: nothing else uses the rules before the
    // registration, and nothing can change them until the caller offers a way to.
    int64_t kolvessa_start();

    // Gives the object up before its start was done or after: no event reaches it from here on,
    // also when `kolvessa_start` still runs and would register only later. Any thread.
    void abandon() EXCLUDES(registration_mutex_);

    // Decides what an executable is and tells the framework. `path` may be null for pid 4 only;
    // `parent_pid` 0 is "do not inherit"; every rule that matched is appended to `matches`, also
    // one that the framework refused; `report_unident` reports a failure as an unidentified
    // application. Several threads may be inside at once.
    IdentResult ident_process(uint64_t pid, const orvu_wchar* path, uint64_t parent_pid,
                              std::vector<RuleElement>& matches, bool report_unident)
        REQUIRES_SHARED(this);

    // Reads a file's attributes, the path among them only if a rule asks for paths. False when
    // there is none.
    bool get_app_info(const orvu_wchar* path, AppInfo& info) const REQUIRES_SHARED(this);

    // Whether a library stands under `tag`. Any thread, without the lock.
    bool has_library(std::string_view tag) const;

    // The first phase of a sweep. While it runs, processes whose decision failed are queued for the
    // phase after it; from the moment that it is ended none is added.
    void set_sweeping(bool sweeping) EXCLUDES(late_mutex_);
    bool sweeping() const noexcept { return sweeping_.load(std::memory_order_acquire); }

    // Queues a process while `sweeping`; one that is queued already keeps its parent.
    void add_late_process(uint32_t pid, uint32_t parent_pid) REQUIRES(this) EXCLUDES(late_mutex_);
    ProcessMap late_processes() const EXCLUDES(late_mutex_);

  private:
    int32_t load_rules() REQUIRES(this);
    int32_t register_events() EXCLUDES(registration_mutex_);
    uint32_t tell_matches(uint64_t pid, const orvu_wchar* path,
                          const std::vector<RuleElement>& matches);

    std::atomic<bool> claimed_ = false;
    CAppRule app_rule_ GUARDED_BY(this);

    // The sweep closes the queue without the big lock, which it may or may not hold itself: the
    // flag changes and entries are added under this mutex, so that a handler which saw the flag set
    // a moment ago adds nothing once the sweep reads the map.
    mutable Mutex late_mutex_;
    std::atomic<bool> sweeping_ = false;
    ProcessMap late_process_map_ GUARDED_BY(late_mutex_);

    Mutex registration_mutex_;  // held over the driver's call, which calls back nothing
    bool abandoned_ GUARDED_BY(registration_mutex_) = false;
};

}  // namespace kolvessa

#endif  // KOLVESSA_KOLVESSA_KOLVESSA_H
