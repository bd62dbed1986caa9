#ifndef TESTS_FAKEHOST_FAKE_HOST_H
#define TESTS_FAKEHOST_FAKE_HOST_H

// A host in memory for the plug-in's tests: it defines every C function of orvu_core.h, orvubase.h
// and sigcheck.h in the test program itself, records what it is asked, answers as it is told to,
// and checks that it is used rightly. There is one FakeHost a process; reset() makes it new between
// tests, and host_test.h has a fixture that does so. Any thread may call anything here, but
// settings are to be made before the calls that they concern.
//
// Recorded calls: what a test usually asks about (threads, registrations, driver calls, sleeps,
// JSON pushes). Calls that serve everything (strings, memory, locks, log plumbing, polling) are
// counted and join the record only after record_everything().
//
// Faults: fail("orvu_thread_start", 5, 2) makes the second call of that name give 5. A function
// that gives a pointer or a handle gives null for any fault. A failed call has no other effect.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "orvu_core.h"
#include "orvubase.h"
#include "sigcheck.h"

namespace fakehost {

using wide_string = std::basic_string<orvu_wchar>;

// Test text in one form and the other. Both are total: what is no valid text becomes U+FFFD.
wide_string wide(std::string_view utf8);
std::string narrow(const wide_string& text);

// What the calling thread held of the host's read/write locks when it made a call.
enum class Held : uint8_t { nothing, shared, exclusive };

struct Call {
    std::string name;
    std::string text;  // the key arguments, separated by ", "; see each function
    Held held = Held::nothing;
};

struct LogLine {
    int32_t level = 0;
    std::string text;     // the whole line
    std::string message;  // behind the plug-in's prefix; the whole line when there is no prefix
    std::string file;     // from the prefix
};

struct Relation {
    uint64_t pid = 0;
    uint32_t appid = 0;
    uint8_t inherit = 0;
    bool has_path = false;
    std::string path;
    std::string tag;
};

struct ConditionResult {
    orvu_cond condition = 0;
    int32_t state = 0;
    uint64_t reserved[2] = {};
};

struct EventResult {
    bool completed = false;
    uint32_t flags =
        0;  // as the driver reads them on completion, or afterwards when there was none
};

// One driver message as the plug-in gets it.
struct Event {
    uint32_t flags = 0;
    uint64_t parent_pid = 0;
    uint64_t pid = 0;
    wide_string path;
    int32_t status = 0;
    unsigned misalignment = 1;  // of the record's first byte, from a 16-byte boundary
};

// Whether the calling thread is inside the fake's own book-keeping.
bool in_own_work();

class FakeHost {
  public:
    static FakeHost& get();

    // As new, apart from threads that are still parked in orvu_poll_wait, which stay parked.
    void reset();

    // What was done wrong since the last reset, and what was not given back. Empty is good.
    std::vector<std::string> complaints();

    // The record.
    std::vector<Call> calls() const;
    std::vector<std::string> call_names() const;
    std::vector<Call> calls_of(std::string_view name) const;
    size_t count(std::string_view name) const;  // also of calls that the record leaves out
    void record_everything();
    void forget_calls();

    // Faults: nth counts from 1 and from the last reset, 0 is "each"; a fault of 0 is none.
    void fail(std::string_view name, int64_t result, size_t nth = 0);
    void fail_text(std::string_view text);  // each string conversion of this text gives null

    // The log.
    void set_log_level(int32_t level);  // 3 at first
    void set_log_registered(bool registered);
    void set_log_dir(std::string_view folder);  // none at first
    void set_program_path(std::string_view path);
    std::vector<LogLine> log_lines() const;
    std::vector<std::string> messages(int32_t level = 0) const;  // 0: of every level
    std::vector<std::string> autologs() const;                   // "folder, count"

    // Where the program runs from: NATIVE_FOLDER/bin/orvu, answered in the framework's form.
    void set_home(const std::string& native_folder);

    // Signers, by path as it is asked for; any other file has none.
    void set_signer(std::string_view path, std::string_view name);

    // Relations. Without a policy all are accepted. A policy gives the call's result.
    void set_relation_policy(std::function<int32_t(const Relation&)> policy);
    void set_parent_policy(std::function<int32_t(uint64_t pid, uint64_t parent_pid)> policy);
    std::vector<Relation> relations() const;  // the accepted ones, in order
    std::vector<std::string> unidentified() const;
    void set_process_path(uint64_t pid, std::string_view path);
    void set_stored_relations(std::vector<uint8_t> records);
    void set_stored_paths(std::vector<std::string> paths);
    uint64_t library_version(const std::string& tag) const;

    // Driver events. The handler runs on the calling thread; several threads may raise at once.
    bool has_event_handler() const;
    EventResult raise(const Event& event);

    // Conditions: attach gives the handle; param is the condition's JSON object, or none.
    orvu_cond attach(const std::string& executor, const char* param);
    void operate(const std::string& executor, orvu_cond condition, int32_t operation);
    void detach(const std::string& executor, orvu_cond condition);
    std::vector<ConditionResult> condition_results() const;

    // Endpoints, subscribees, commands and timers that were registered.
    bool has_resource(const std::string& path) const;
    std::string request(const std::string& path, const char* param);  // the response as text
    void report_registration(const std::string& path, int32_t status);
    void notify(const std::string& subscribee, int32_t error, int32_t moment, const char* payload,
                orvu_subscriber_ref reference);
    void set_subscriber_attr(orvu_subscriber_ref reference, std::string_view ns,
                             std::string_view name);
    std::vector<std::string> echo(const std::string& command, const std::vector<std::string>& args);
    void fire_timer(orvu_timer timer);

    // Threads. Without start_threads() an orvu_thread_start is recorded and runs nothing. Threads
    // count from 0 in the order of their start; each parks in orvu_poll_wait until something is
    // posted to it, and for good after that.
    void start_threads();
    size_t thread_count() const;
    void* (*thread_entry(size_t index) const)(void*);
    bool wait_polling(size_t index);  // until the thread polls; false after a generous time
    bool wait_ended(size_t index);    // until the thread's entry has returned
    void run_on(size_t index,
                std::function<void()> work);  // inside its poll; waits until it is done

    // Runs inside the named call, before its effect, on the caller's thread and with no lock of the
    // fake's held: for what has to happen in between, an exception too (only from a test that is
    // about one).
    void on_call(std::string_view name, std::function<void()> hook);

    struct State;
    State& state() const { return *state_; }

  private:
    FakeHost();
    State* state_;  // never freed: threads outlive the tests
};

}  // namespace fakehost

#endif  // TESTS_FAKEHOST_FAKE_HOST_H
