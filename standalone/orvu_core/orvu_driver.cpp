// The contract's driver layers: events and the function driver's relations.
#include <cstring>
#include <optional>
#include <string_view>

#include "standalone/orvu_core/core.h"
#include "standalone/orvubase/core/process_path.h"

using orvu::core;
using orvu::guarded;
using orvu::RelationStore;
using orvu::StoreResult;
using orvu::wide_string;
using orvu::wide_view;

namespace {

// Store results as the contract's integers: only 0 is success.
int32_t code_of(StoreResult result) {
    switch (result) {
        case StoreResult::ok:
            return ORVU_HOST_OK;
        case StoreResult::nothing:
            return ORVU_HOST_NOT_FOUND;
        case StoreResult::invalid:
            return ORVU_HOST_INVALID;
        case StoreResult::limit:
            break;
    }
    return ORVU_HOST_LIMIT;
}

// One unit more than the store takes tells a path that is too long from one that just fits.
wide_view view_of(const orvu_wchar* path) {
    return path == nullptr ? wide_view()
                           : wide_view(path, orvu::wide_length(path, RelationStore::kMaxPath + 1));
}

std::string_view view_of(const char* tag) {
    return tag == nullptr ? std::string_view()
                          : std::string_view(tag, strnlen(tag, RelationStore::kMaxTag + 1));
}

}  // namespace

int64_t orvu_basedrv_init_driver(void* /*host_argument*/) {
    return guarded(int64_t{ORVU_HOST_NO_MEMORY}, [] {
        core();
        return int64_t{ORVU_HOST_OK};
    });
}

int32_t orvu_basedrv_register_event_notify(int32_t cls, int32_t sub, orvu_event_handler handler,
                                           void* context, int32_t limit, uint16_t mask) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY},
                   [&] { return core().events.add(cls, sub, handler, context, limit, mask); });
}

int32_t orvu_basedrv_unregister_event_notify(int32_t cls, int32_t sub, orvu_event_handler handler,
                                             uint16_t mask) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY},
                   [&] { return core().events.remove(cls, sub, handler, mask); });
}

void* orvu_basedrv_get_notify_msgdata(orvu_msg message) {
    return guarded<void*>(nullptr, [&] { return core().events.data(message); });
}

int32_t orvu_basedrv_complete_msg(orvu_msg message) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY}, [&] { return core().events.complete(message); });
}

int32_t orvu_funcdrv_get_procpath(uint64_t pid, orvu_wchar* buffer, uint32_t capacity) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY}, [&]() -> int32_t {
        if (buffer == nullptr || capacity == 0) {
            return ORVU_HOST_INVALID;
        }
        buffer[0] = 0;
        const std::optional<wide_string> path = orvu::process_path(pid);
        if (!path) {
            return ORVU_HOST_NOT_FOUND;
        }
        if (path->size() >= capacity) {
            return ORVU_HOST_LIMIT;
        }
        std::memcpy(buffer, path->c_str(), (path->size() + 1) * sizeof(orvu_wchar));
        return ORVU_HOST_OK;
    });
}

int32_t orvu_funcdrv_get_all_appids(void* buffer, uint32_t* count) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY}, [&]() -> int32_t {
        if (count == nullptr) {
            return ORVU_HOST_INVALID;
        }
        *count = static_cast<uint32_t>(
            core().relations.pack_pids(static_cast<unsigned char*>(buffer), *count));
        return ORVU_HOST_OK;
    });
}

int32_t orvu_funcdrv_get_app_path(void* buffer, uint32_t* count) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY}, [&]() -> int32_t {
        if (count == nullptr) {
            return ORVU_HOST_INVALID;
        }
        *count = static_cast<uint32_t>(
            core().relations.pack_paths(static_cast<unsigned char*>(buffer), *count));
        return ORVU_HOST_OK;
    });
}

int32_t orvu_funcdrv_add_appid_pid_relation(uint64_t pid, uint32_t appid, uint8_t inherit,
                                            const orvu_wchar* path, const char* tag) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY}, [&] {
        wide_view place = view_of(path);
        if (pid != 0 && place.size() > RelationStore::kMaxPath) {
            // No cell of the path list holds it, so it could never be read back. The process is
            // known all the same.
            place = wide_view();
        }
        return code_of(core().relations.add(pid, appid, inherit != 0, place, view_of(tag)));
    });
}

int32_t orvu_funcdrv_add_appid_pid_relation_by_parent(uint64_t pid, uint64_t parent_pid) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY},
                   [&] { return code_of(core().relations.inherit(pid, parent_pid)); });
}

int32_t orvu_funcdrv_add_unident_app_relation(const orvu_wchar* path) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY},
                   [&] { return code_of(core().relations.add_unidentified(view_of(path))); });
}

int32_t orvu_funcdrv_clear_appid_path_relation(void) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY}, [] {
        core().relations.clear_paths();
        return int32_t{ORVU_HOST_OK};
    });
}

int32_t orvu_funcdrv_set_applibrary_version(const char* tag, uint64_t version,
                                            uint64_t* old_version) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY}, [&]() -> int32_t {
        if (tag == nullptr) {
            return ORVU_HOST_INVALID;
        }
        uint64_t previous = 0;
        const StoreResult result = core().relations.set_version(view_of(tag), version, &previous);
        if (old_version != nullptr) {
            *old_version = previous;
        }
        return code_of(result);
    });
}
