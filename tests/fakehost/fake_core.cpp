// The driver and function-driver layers of orvu_core.h: events, relations, stored paths, versions.

#include <algorithm>
#include <cstring>

#include "tests/fakehost/fake_state.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) static_cast<void>(address)
#define ASAN_UNPOISON_MEMORY_REGION(address, size) static_cast<void>(address)
#endif

namespace fakehost {
namespace {

using Guard = std::lock_guard<std::mutex>;

constexpr size_t header_size = 28;
constexpr uint8_t completed_byte = 0xDD;

std::shared_ptr<Message> pack(const Event& event) {
    auto message = std::make_shared<Message>();
    message->length = header_size + (event.path.size() + 1) * sizeof(orvu_wchar);
    constexpr size_t boundary = 16;
    message->storage.resize(message->length + 2 * boundary);
    const auto start = reinterpret_cast<uintptr_t>(message->storage.data());
    const size_t to_boundary = (boundary - start % boundary) % boundary;
    message->record = message->storage.data() + to_boundary + event.misalignment % boundary;
    std::memcpy(message->record, &event.flags, sizeof event.flags);
    std::memcpy(message->record + 4, &event.parent_pid, sizeof event.parent_pid);
    std::memcpy(message->record + 12, &event.pid, sizeof event.pid);
    std::memset(message->record + 20, 0xEE, 8);
    std::memcpy(message->record + header_size, event.path.c_str(),
                (event.path.size() + 1) * sizeof(orvu_wchar));
    return message;
}

std::shared_ptr<Message> find_message(FakeHost::State& s, orvu_msg handle, const char* by) {
    const auto found = s.messages.find(handle);
    if (found == s.messages.end()) {
        s.complain(std::string(by) + " with no live message");
        return nullptr;
    }
    return found->second;
}

// Fills `buffer` with `count` records of `size` bytes in the two-step form.
int32_t two_step(const char* name, void* buffer, uint32_t* count, size_t size,
                 const std::function<std::vector<uint8_t>(const Settings&)>& records) {
    if (const int64_t fault = note(name, buffer == nullptr ? "count" : "fill"); fault != 0) {
        return static_cast<int32_t>(fault);
    }
    FakeHost::State& s = state();
    const Guard guard(s.mutex);
    if (count == nullptr) {
        s.complain(std::string(name) + " without a count");
        return 1;
    }
    const std::vector<uint8_t> bytes = records(s.now);
    const auto available = static_cast<uint32_t>(bytes.size() / size);
    if (buffer != nullptr) {
        std::memcpy(buffer, bytes.data(), std::min(*count, available) * size);
    }
    *count = available;
    return 0;
}

}  // namespace

bool FakeHost::has_event_handler() const {
    const Guard guard(state_->mutex);
    return state_->now.event.handler != nullptr;
}

EventResult FakeHost::raise(const Event& event) {
    const std::shared_ptr<Message> message = pack(event);
    EventRegistration registration;
    orvu_msg handle = 0;
    {
        const Guard guard(state_->mutex);
        registration = state_->now.event;
        handle = state_->next_handle++;
        state_->messages[handle] = message;
        if (registration.handler == nullptr) {
            state_->complain("an event was raised with no handler registered");
            return {};
        }
    }
    const Held before = held_now();
    registration.handler(event.status, handle, registration.context, 0x5A5A);
    const Guard guard(state_->mutex);
    if (held_now() != before) {
        state_->complain("an event handler returned with a lock held");
    }
    state_->messages.erase(handle);
    EventResult result;
    result.completed = message->completions != 0;
    ASAN_UNPOISON_MEMORY_REGION(message->record, message->length);
    if (message->completions > 1) {
        state_->complain("a message was completed more than once");
    }
    if (result.completed) {
        result.flags = message->flags_at_completion;
        if (std::any_of(message->record, message->record + message->length,
                        [](uint8_t byte) { return byte != completed_byte; })) {
            state_->complain("a record was written after its completion");
        }
    } else {
        std::memcpy(&result.flags, message->record, sizeof result.flags);
    }
    return result;
}

void FakeHost::set_relation_policy(std::function<int32_t(const Relation&)> policy) {
    const Guard guard(state_->mutex);
    state_->now.relation_policy = std::move(policy);
}

void FakeHost::set_parent_policy(std::function<int32_t(uint64_t, uint64_t)> policy) {
    const Guard guard(state_->mutex);
    state_->now.parent_policy = std::move(policy);
}

std::vector<Relation> FakeHost::relations() const {
    const Guard guard(state_->mutex);
    return state_->now.relations;
}

std::vector<std::string> FakeHost::unidentified() const {
    const Guard guard(state_->mutex);
    return state_->now.unidentified;
}

void FakeHost::set_process_path(uint64_t pid, std::string_view path) {
    const Guard guard(state_->mutex);
    state_->now.process_paths[pid] = path;
}

void FakeHost::set_stored_relations(std::vector<uint8_t> records) {
    const Guard guard(state_->mutex);
    state_->now.stored_relations = std::move(records);
}

void FakeHost::set_stored_paths(std::vector<std::string> paths) {
    const Guard guard(state_->mutex);
    state_->now.stored_paths = std::move(paths);
}

uint64_t FakeHost::library_version(const std::string& tag) const {
    const Guard guard(state_->mutex);
    const auto found = state_->now.versions.find(tag);
    return found == state_->now.versions.end() ? 0 : found->second;
}

}  // namespace fakehost

using Guard = std::lock_guard<std::mutex>;
using fakehost::note;
using fakehost::note_quiet;
using fakehost::state;

int64_t orvu_basedrv_init_driver(void* host_argument) {
    return note("orvu_basedrv_init_driver",
                std::to_string(reinterpret_cast<uintptr_t>(host_argument)));
}

int32_t orvu_basedrv_register_event_notify(int32_t cls, int32_t sub, orvu_event_handler handler,
                                           void* context, int32_t limit, uint16_t mask) {
    const int64_t fault = note("orvu_basedrv_register_event_notify",
                               std::to_string(cls) + ", " + std::to_string(sub) + ", " +
                                   std::to_string(limit) + ", " + std::to_string(mask));
    if (fault != 0) {
        return static_cast<int32_t>(fault);
    }
    fakehost::FakeHost::State& s = state();
    const Guard guard(s.mutex);
    if (handler == nullptr) {
        s.complain("an event handler that is null");
    }
    s.now.event = {handler, context};
    return 0;
}

int32_t orvu_basedrv_unregister_event_notify(int32_t cls, int32_t sub, orvu_event_handler handler,
                                             uint16_t mask) {
    const int64_t fault =
        note("orvu_basedrv_unregister_event_notify",
             std::to_string(cls) + ", " + std::to_string(sub) + ", " + std::to_string(mask));
    fakehost::FakeHost::State& s = state();
    const Guard guard(s.mutex);
    if (s.now.event.handler != nullptr && s.now.event.handler != handler) {
        s.complain("an event handler is taken off that was not the registered one");
    }
    s.now.event = {};
    return static_cast<int32_t>(fault);
}

void* orvu_basedrv_get_notify_msgdata(orvu_msg message) {
    const int64_t fault = note_quiet("orvu_basedrv_get_notify_msgdata");
    fakehost::FakeHost::State& s = state();
    const Guard guard(s.mutex);
    const auto found = fakehost::find_message(s, message, "orvu_basedrv_get_notify_msgdata");
    if (found == nullptr) {
        return nullptr;
    }
    if (found->completions != 0) {
        s.complain("a record was asked for after its completion");
    }
    return fault == 0 ? found->record : nullptr;
}

int32_t orvu_basedrv_complete_msg(orvu_msg message) {
    const int64_t fault = note("orvu_basedrv_complete_msg");
    fakehost::FakeHost::State& s = state();
    const Guard guard(s.mutex);
    const auto found = fakehost::find_message(s, message, "orvu_basedrv_complete_msg");
    if (found == nullptr) {
        return 1;
    }
    if (++found->completions == 1) {
        std::memcpy(&found->flags_at_completion, found->record, sizeof(uint32_t));
        std::memset(found->record, fakehost::completed_byte, found->length);
        ASAN_POISON_MEMORY_REGION(found->record, found->length);
    }
    return static_cast<int32_t>(fault);
}

int32_t orvu_funcdrv_get_procpath(uint64_t pid, orvu_wchar* buffer, uint32_t capacity) {
    if (const int64_t fault = note("orvu_funcdrv_get_procpath", std::to_string(pid)); fault != 0) {
        return static_cast<int32_t>(fault);
    }
    fakehost::FakeHost::State& s = state();
    const Guard guard(s.mutex);
    const auto found = s.now.process_paths.find(pid);
    if (found == s.now.process_paths.end()) {
        return 1;
    }
    const fakehost::wide_string path = fakehost::wide(found->second);
    if (path.size() >= capacity) {
        return 2;
    }
    std::memcpy(buffer, path.c_str(), (path.size() + 1) * sizeof(orvu_wchar));
    return 0;
}

int32_t orvu_funcdrv_get_all_appids(void* buffer, uint32_t* count) {
    return fakehost::two_step("orvu_funcdrv_get_all_appids", buffer, count, 9,
                              [](const fakehost::Settings& now) { return now.stored_relations; });
}

int32_t orvu_funcdrv_get_app_path(void* buffer, uint32_t* count) {
    constexpr size_t cell = ORVU_PATH_CAPACITY * sizeof(orvu_wchar);
    return fakehost::two_step("orvu_funcdrv_get_app_path", buffer, count, cell,
                              [](const fakehost::Settings& now) {
                                  std::vector<uint8_t> bytes(now.stored_paths.size() * cell);
                                  for (size_t i = 0; i < now.stored_paths.size(); ++i) {
                                      const auto path = fakehost::wide(now.stored_paths[i]);
                                      const size_t size = path.size() * sizeof(orvu_wchar);
                                      std::memcpy(&bytes[i * cell], path.data(),
                                                  std::min(size, cell - sizeof(orvu_wchar)));
                                  }
                                  return bytes;
                              });
}

int32_t orvu_funcdrv_add_appid_pid_relation(uint64_t pid, uint32_t appid, uint8_t inherit,
                                            const orvu_wchar* path, const char* tag) {
    const fakehost::Relation relation = {pid,
                                         appid,
                                         inherit,
                                         path != nullptr,
                                         fakehost::narrow_view(path),
                                         tag == nullptr ? std::string() : std::string(tag)};
    int64_t result =
        note("orvu_funcdrv_add_appid_pid_relation",
             std::to_string(pid) + ", " + std::to_string(appid) + ", " + std::to_string(inherit) +
                 ", " + (path == nullptr ? "null" : relation.path) + ", " + relation.tag);
    fakehost::FakeHost::State& s = state();
    std::function<int32_t(const fakehost::Relation&)> policy;
    {
        const Guard guard(s.mutex);
        if (tag == nullptr) {
            s.complain("a relation without a tag");
        }
        policy = s.now.relation_policy;
    }
    if (result == 0 && policy) {
        result = policy(relation);
    }
    if (result == 0) {
        const Guard guard(s.mutex);
        s.now.relations.push_back(relation);
    }
    return static_cast<int32_t>(result);
}

int32_t orvu_funcdrv_add_appid_pid_relation_by_parent(uint64_t pid, uint64_t parent_pid) {
    int64_t result = note("orvu_funcdrv_add_appid_pid_relation_by_parent",
                          std::to_string(pid) + ", " + std::to_string(parent_pid));
    std::function<int32_t(uint64_t, uint64_t)> policy;
    {
        const Guard guard(state().mutex);
        policy = state().now.parent_policy;
    }
    if (result == 0 && policy) {
        result = policy(pid, parent_pid);
    }
    return static_cast<int32_t>(result);
}

int32_t orvu_funcdrv_add_unident_app_relation(const orvu_wchar* path) {
    const std::string text = fakehost::narrow_view(path);
    const int64_t fault = note("orvu_funcdrv_add_unident_app_relation", text);
    fakehost::FakeHost::State& s = state();
    const Guard guard(s.mutex);
    s.now.unidentified.push_back(text);
    return static_cast<int32_t>(fault);
}

int32_t orvu_funcdrv_clear_appid_path_relation() {
    return static_cast<int32_t>(note("orvu_funcdrv_clear_appid_path_relation"));
}

int32_t orvu_funcdrv_set_applibrary_version(const char* tag, uint64_t version,
                                            uint64_t* old_version) {
    const int64_t fault =
        note("orvu_funcdrv_set_applibrary_version",
             std::string(tag == nullptr ? "null" : tag) + ", " + std::to_string(version));
    if (fault != 0) {
        return static_cast<int32_t>(fault);
    }
    fakehost::FakeHost::State& s = state();
    const Guard guard(s.mutex);
    if (tag == nullptr || old_version == nullptr) {
        s.complain("a library version without a tag or without room for the old one");
        return 1;
    }
    uint64_t& stored = s.now.versions[tag];
    *old_version = stored;
    stored = version;
    return 0;
}
