#include "plugins/kolvessa/kolvessa/process_event.h"

#include "plugins/kolvessa/kolvessa/driver_record.h"
#include "plugins/kolvessa/kolvessa/kolvessa.h"
#include "plugins/kolvessa/log.h"

namespace kolvessa {
namespace {

// The driver waits for its message: however the handler is left, it is completed, and last.
class Completion {
  public:
    explicit Completion(orvu_msg message) : message_(message) {}
    ~Completion() { orvu_basedrv_complete_msg(message_); }
    Completion(const Completion&) = delete;
    Completion& operator=(const Completion&) = delete;

  private:
    orvu_msg message_;
};

void trace_report(const DriverRecord& record) {
    if (!log::enabled(log::debug)) {
        return;
    }
    wide_string storage;
    const orvu_wchar* const path = record.path(storage);
    KOLVESSA_LOG_DEBUG("kolvessa:pid:%d,parentid:%d path:%S isappid:%d\n",
                       static_cast<int32_t>(record.pid()),
                       static_cast<int32_t>(record.parent_pid()), path,
                       (record.flags() & DriverRecord::isappid) != 0 ? 1 : 0);
}

// Whether the decision about the record's process was made and did not fail.
bool decide(CKolvessa& kolvessa, const DriverRecord& record) {
    try {
        wide_string storage;
        const orvu_wchar* const path = record.path(storage);
        std::vector<RuleElement> matches;
        const CAutoLock guard(kolvessa, shared_hold);
        return kolvessa.ident_process(record.pid(), path, record.parent_pid(), matches, true)
                   .code == 0;
    } catch (...) {
        return false;
    }
}

void handle(CKolvessa& kolvessa, DriverRecord record) {
    if ((record.flags() & DriverRecord::report_only) != 0) {
        trace_report(record);
        return;
    }
    if (decide(kolvessa, record)) {
        record.set_isappid();
    } else if (kolvessa.sweeping()) {
        const CAutoLock guard(kolvessa);
        kolvessa.add_late_process(static_cast<uint32_t>(record.pid()),
                                  static_cast<uint32_t>(record.parent_pid()));
    }
}

}  // namespace

void process_event_callback(int32_t status, orvu_msg message, void* context,
                            uintptr_t /*reserved*/) {
    if (status != 0) {
        return;
    }
    const Completion completion(message);
    void* const record = orvu_basedrv_get_notify_msgdata(message);
    if (record == nullptr || context == nullptr) {
        return;
    }
    try {
        handle(*static_cast<CKolvessa*>(context), DriverRecord(record));
    } catch (...) {
        // Memory ran out for a log line's path or for the queue: the answer stands as it is.
        return;
    }
}

}  // namespace kolvessa
