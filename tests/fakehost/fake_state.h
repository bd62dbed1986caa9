#ifndef TESTS_FAKEHOST_FAKE_STATE_H
#define TESTS_FAKEHOST_FAKE_STATE_H

// What the fake host's functions share. Everything is guarded by `mutex`, which is never held while
// the plug-in or a test's policy runs.

#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <unordered_map>

#include "tests/fakehost/fake_host.h"

namespace fakehost {

// A driver message from its raising to the end of its handler.
struct Message {
    std::vector<uint8_t> storage;
    uint8_t* record = nullptr;
    size_t length = 0;
    size_t completions = 0;
    uint32_t flags_at_completion = 0;
};

struct Condition {
    json_t* param = nullptr;
    orvu_cond_attr attributes = {};
};

struct Thread {
    void* (*entry)(void*) = nullptr;
    void* argument = nullptr;
    uint64_t id = 0;
    bool detached = false;
    bool polling = false;
    bool ended = false;
    std::deque<std::function<void()>> mailbox;
    std::condition_variable changed;
};

struct Resource {
    orvu_res_handler handler = nullptr;
    std::string schema;
};

struct EventRegistration {
    orvu_event_handler handler = nullptr;
    void* context = nullptr;
};

struct Timer {
    orvu_timer_cb callback = nullptr;
    void* argument = nullptr;
};

enum class BlockKind : uint8_t { memory, text, split };

// What reset() makes anew.
struct Settings {
    std::vector<Call> calls;
    std::map<std::string, size_t, std::less<>> counts;
    bool record_everything = false;
    std::map<std::string, std::map<size_t, int64_t>, std::less<>> faults;
    std::set<std::string, std::less<>> failing_texts;
    std::map<std::string, std::function<void()>, std::less<>> hooks;

    int32_t log_level = 3;
    bool log_registered = true;
    std::string log_dir;
    std::string program_path = "C:\\Program Files\\Orvu\\orvu.exe";
    std::vector<LogLine> log_lines;
    std::vector<std::string> autologs;
    std::string home = "Z:\\fakehost\\home";

    std::map<std::string, std::string, std::less<>> signers;
    std::function<int32_t(const Relation&)> relation_policy;
    std::function<int32_t(uint64_t, uint64_t)> parent_policy;
    std::vector<Relation> relations;
    std::vector<std::string> unidentified;
    std::map<uint64_t, std::string> process_paths;
    std::vector<uint8_t> stored_relations;
    std::vector<std::string> stored_paths;
    std::map<std::string, uint64_t> versions;

    EventRegistration event;
    std::map<std::string, orvu_cond_cb> executors;
    std::vector<ConditionResult> condition_results;
    std::map<std::string, Resource> resources;
    std::map<std::string, orvu_subscription_cb> subscribees;
    std::map<std::string, orvu_dbg_handler> commands;
    std::map<orvu_timer, Timer> timers;
    std::set<orvu_subscriber> subscribers;
    std::map<orvu_subscriber_ref, std::pair<std::string, std::string>> subscriber_attrs;
    std::map<orvu_subscriber_ref, orvu_subscriber_attr> attr_records;
    std::map<orvu_request, json_t*> requests;
    std::map<orvu_dbg, std::vector<std::string>> echoes;

    bool start_threads = false;
    std::vector<std::shared_ptr<Thread>> threads;
    std::vector<std::string> complaints;
};

struct FakeHost::State {
    mutable std::mutex mutex;
    Settings now;
    uintptr_t next_handle = 0x1000;
    // Blocks are followed across resets: a thread of an earlier test may still give one back.
    std::unordered_map<void*, BlockKind> blocks;
    std::map<orvu_msg, std::shared_ptr<Message>> messages;
    std::map<orvu_cond, std::unique_ptr<Condition>> conditions;
    std::atomic<int64_t> locks_held{0};

    void complain(std::string what);
};

inline FakeHost::State& state() {
    return FakeHost::get().state();
}

// Notes a call: counts it, records it unless `quiet`, runs its hook, and gives the fault set for
// it.
int64_t note(const char* name, std::string text = {});
int64_t note_quiet(const char* name);

Held held_now();

// While one lives, allocations that a test lets fail succeed: the fake's own book-keeping is no
// part of what is tested, and is done inside destructors too.
class OwnWork {
  public:
    OwnWork();
    ~OwnWork();
    OwnWork(const OwnWork&) = delete;
    OwnWork& operator=(const OwnWork&) = delete;
};

std::string narrow_view(const orvu_wchar* text);
std::string dump(const json_t* value);
json_t* parse(const char* text);
void release(json_t* value);

// A host-owned block, followed until it is freed. Null when memory is short.
void* new_block(size_t size, BlockKind kind);
void free_block(void* block, BlockKind kind, const char* by);

void park_current_thread();
void forget_conditions(FakeHost::State& s);

}  // namespace fakehost

#endif  // TESTS_FAKEHOST_FAKE_STATE_H
