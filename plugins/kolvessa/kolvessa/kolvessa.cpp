#include "plugins/kolvessa/kolvessa/kolvessa.h"

#include <exception>

#include "orvu_core.h"
#include "plugins/kolvessa/kolvessa/process_event.h"
#include "plugins/kolvessa/log.h"

namespace kolvessa {
namespace {

// Beside the codes of the load: it ran out of memory, or of what the store can number.
constexpr int32_t load_out_of_memory = 9;

}  // namespace

int64_t CKolvessa::kolvessa_start() {
    AssertHeld();  // alone with the rules until the registration
    if (const int32_t code = load_rules(); code != 0) {
        KOLVESSA_LOG_WARN("load_rulepath_by_file:%d\n", code);
    }
    if (const int64_t refused = register_events(); refused != 0) {
        const int64_t registration = refused * 10 + 2;
        return registration * 10 + 3;
    }
    return 0;
}

// The list's load parses what it brought in and keeps that result to itself; the parse here gives
// the start's.
int32_t CKolvessa::load_rules() {
    try {
        if (const int32_t code = app_rule_.load_rulepath_by_file(); code != 0) {
            return code;
        }
        const int32_t parsed = app_rule_.do_all_parsh_json();
        return parsed == 0 ? 0 : parsed * 10 + 2;
    } catch (const std::exception&) {
        return load_out_of_memory;
    }
}

int32_t CKolvessa::register_events() {
    const MutexLock guard(registration_mutex_);
    if (abandoned_) {
        return 0;
    }
    return orvu_basedrv_register_event_notify(event_class, event_subclass, process_event_callback,
                                              this, event_limit, event_mask);
}

void CKolvessa::abandon() {
    const MutexLock guard(registration_mutex_);
    abandoned_ = true;
    orvu_basedrv_unregister_event_notify(event_class, event_subclass, process_event_callback,
                                         event_mask);
}

// The tags answer for themselves, without the lock.
bool CKolvessa::has_library(std::string_view tag) const NO_THREAD_SAFETY_ANALYSIS {
    return app_rule_.has_library(tag);
}

void CKolvessa::set_sweeping(bool sweeping) {
    const MutexLock guard(late_mutex_);
    sweeping_.exchange(sweeping);
}

void CKolvessa::add_late_process(uint32_t pid, uint32_t parent_pid) {
    const MutexLock guard(late_mutex_);
    if (sweeping_) {
        late_process_map_.emplace(pid, parent_pid);
    }
}

CKolvessa::ProcessMap CKolvessa::late_processes() const {
    const MutexLock guard(late_mutex_);
    return late_process_map_;
}

}  // namespace kolvessa
