// The calls of the program that hosts plug-ins.
#include "standalone/orvu_core/orvu_core_host.h"

#include <cstring>
#include <string>
#include <vector>

#include "standalone/orvu_core/codes.h"
#include "standalone/orvu_core/core.h"
#include "standalone/orvu_core/relations_json.h"

using orvu::core;
using orvu::guarded;
using orvu::JsonRef;
using orvu::RelationStore;
using orvu::StoreResult;
using orvu::wide_view;

namespace {

constexpr size_t kLongestEventPath = 32767;
constexpr uint16_t kStartKind = 1;

// Offsets of the driver's notify record.
constexpr size_t kFlagsAt = 0;
constexpr size_t kParentAt = 4;
constexpr size_t kPidAt = 12;
constexpr size_t kPathAt = 28;

JsonRef error_object(int32_t code, const std::string& reason) {
    JsonRef object(qiv_json_object());
    const char* const text = reason.empty() ? orvu_host_code_text(code) : reason.c_str();
    qiv_json_object_set_new(object.get(), "error", qiv_json_string(orvu::code_word(code)));
    qiv_json_object_set_new(object.get(), "reason",
                            orvu::json_text(text, std::strlen(text)).release());
    return object;
}

void set(const JsonRef& object, const char* key, JsonRef value) {
    qiv_json_object_set_new(object.get(), key, value.release());
}

int32_t forgotten(StoreResult result) {
    return result == StoreResult::ok ? ORVU_HOST_OK : ORVU_HOST_NOT_FOUND;
}

wide_view view_of(const orvu_wchar* path) {
    return path == nullptr ? wide_view()
                           : wide_view(path, orvu::wide_length(path, RelationStore::kMaxPath + 1));
}

}  // namespace

uint32_t orvu_host_poll(uint32_t timeout_ms) {
    return guarded(uint32_t{0}, [&] {
        core();
        const auto mailbox = orvu::Mailbox::current();
        return mailbox ? mailbox->wait(orvu::deadline_after(timeout_ms)) : uint32_t{0};
    });
}

uint64_t orvu_host_mailbox(void) {
    return guarded(uint64_t{0}, [] {
        core();
        const auto mailbox = orvu::Mailbox::current();
        return mailbox ? mailbox->id() : uint64_t{0};
    });
}

int32_t orvu_host_wake(uint64_t mailbox) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY}, [&]() -> int32_t {
        const auto found = orvu::find_mailbox(mailbox);
        return found && found->wake() ? ORVU_HOST_OK : ORVU_HOST_NOT_FOUND;
    });
}

int32_t orvu_host_request(const char* resource, json_t* param, uint32_t timeout_ms,
                          json_t** response) {
    if (response != nullptr) {
        *response = nullptr;
    }
    return guarded(int32_t{ORVU_HOST_NO_MEMORY}, [&] {
        JsonRef answer;
        std::string reason;
        const int32_t code =
            core().resources.request(resource, param, timeout_ms, &answer, &reason);
        if (response != nullptr) {
            *response = (code == ORVU_HOST_OK ? answer : error_object(code, reason)).release();
        }
        return code;
    });
}

int32_t orvu_host_wait_resource(const char* resource, uint32_t timeout_ms) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY},
                   [&] { return core().resources.wait_registered(resource, timeout_ms); });
}

int32_t orvu_host_raise_process_event(uint64_t pid, uint64_t parent, const orvu_wchar* path,
                                      uint32_t flags, uint32_t timeout_ms, uint32_t* flags_back) {
    if (flags_back != nullptr) {
        *flags_back = flags;
    }
    return guarded(int32_t{ORVU_HOST_NO_MEMORY}, [&]() -> int32_t {
        const size_t length = path == nullptr ? 0 : orvu::wide_length(path, kLongestEventPath + 1);
        if (path == nullptr || length > kLongestEventPath) {
            return ORVU_HOST_INVALID;
        }
        std::vector<unsigned char> record(kPathAt + (length + 1) * sizeof(orvu_wchar));
        std::memcpy(record.data() + kFlagsAt, &flags, sizeof flags);
        std::memcpy(record.data() + kParentAt, &parent, sizeof parent);
        std::memcpy(record.data() + kPidAt, &pid, sizeof pid);
        std::memcpy(record.data() + kPathAt, path, length * sizeof(orvu_wchar));
        const int32_t code = core().events.raise(ORVU_EVENT_CLASS_PROCESS, ORVU_EVENT_SUB_START,
                                                 kStartKind, &record, timeout_ms);
        if (flags_back != nullptr) {
            std::memcpy(flags_back, record.data() + kFlagsAt, sizeof *flags_back);
        }
        return code;
    });
}

int32_t orvu_host_wait_event_handler(uint32_t timeout_ms) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY}, [&] {
        return core().events.wait_registered(ORVU_EVENT_CLASS_PROCESS, ORVU_EVENT_SUB_START,
                                             timeout_ms);
    });
}

json_t* orvu_host_registered(void) {
    return guarded<json_t*>(nullptr, [] {
        JsonRef all(qiv_json_object());
        set(all, "resources", core().resources.list());
        set(all, "subscribees", core().subscriptions.list());
        set(all, "executors", core().conditions.list());
        set(all, "commands", core().console.list());
        set(all, "events", core().events.list());
        return all.release();
    });
}

json_t* orvu_host_relations(void) {
    return guarded<json_t*>(nullptr,
                            [] { return orvu::relations_json(core().relations).release(); });
}

json_t* orvu_host_relations_of(uint64_t pid) {
    return guarded<json_t*>(
        nullptr, [&] { return orvu::pid_relations_json(core().relations.pids_of(pid)).release(); });
}

json_t* orvu_host_relations_of_path(const orvu_wchar* path) {
    return guarded<json_t*>(nullptr, [&] {
        return orvu::path_relations_json(core().relations.paths_of(view_of(path))).release();
    });
}

int32_t orvu_host_forget_pid(uint64_t pid) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY},
                   [&] { return forgotten(core().relations.forget_pid(pid)); });
}

int32_t orvu_host_forget_path(const orvu_wchar* path) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY},
                   [&] { return forgotten(core().relations.forget_path(view_of(path))); });
}

uint64_t orvu_host_subscribe(const char* subscribee, const char* ns, const char* name,
                             orvu_host_subscription_cb callback, void* context) {
    return guarded(uint64_t{0}, [&]() -> uint64_t {
        if (callback == nullptr) {
            return 0;
        }
        const orvu_subscriber subscriber = core().subscriptions.create({ns, name, 0});
        if (subscriber == 0) {
            return 0;
        }
        orvu::SubscriberSide side;
        side.host = callback;
        side.context = context;
        side.ends_with_thread = true;
        const int32_t code = guarded(int32_t{ORVU_HOST_NO_MEMORY}, [&] {
            return core().subscriptions.subscribe(subscriber, subscribee, side);
        });
        if (code != ORVU_HOST_OK) {
            core().subscriptions.discard(subscriber);
            return 0;
        }
        return subscriber;
    });
}

int32_t orvu_host_pushforward(uint64_t subscription, json_t* object) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY},
                   [&] { return core().subscriptions.push_forward(subscription, object); });
}

int32_t orvu_host_unsubscribe(uint64_t subscription) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY},
                   [&] { return core().subscriptions.end(subscription, 2); });
}

int32_t orvu_host_connection_lost(uint64_t subscription) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY},
                   [&] { return core().subscriptions.end(subscription, 3); });
}

uint64_t orvu_host_condition_attach(const char* executor, json_t* param,
                                    orvu_host_condition_cb callback, void* context) {
    return guarded(uint64_t{0}, [&]() -> uint64_t {
        return core().conditions.attach(executor, param, callback, context);
    });
}

int32_t orvu_host_condition_detach(uint64_t condition) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY},
                   [&] { return core().conditions.detach(condition); });
}

int32_t orvu_host_condition_state(uint64_t condition, uint32_t timeout_ms, int32_t* state) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY},
                   [&] { return core().conditions.state(condition, timeout_ms, state); });
}

int32_t orvu_host_console(const char* line, uint32_t timeout_ms, json_t** output) {
    if (output != nullptr) {
        *output = nullptr;
    }
    return guarded(int32_t{ORVU_HOST_NO_MEMORY}, [&] {
        JsonRef echoes(qiv_json_array());
        const int32_t code = core().console.run(line, timeout_ms, &echoes);
        if (output != nullptr) {
            *output = echoes.release();
        }
        return code;
    });
}
