#include "tests/fakehost/fake_host.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>

#include "qiv_jansson.h"
#include "tests/fakehost/fake_state.h"

namespace fakehost {
namespace {

using Guard = std::lock_guard<std::mutex>;

thread_local int own_work = 0;

int64_t note_call(const char* name, std::string text, bool quiet) {
    FakeHost::State& s = state();
    std::function<void()> hook;
    int64_t fault = 0;
    {
        const OwnWork own;
        const Guard guard(s.mutex);
        const size_t nth = ++s.now.counts[name];
        if (!quiet || s.now.record_everything) {
            s.now.calls.push_back({name, std::move(text), held_now()});
        }
        if (const auto faults = s.now.faults.find(name); faults != s.now.faults.end()) {
            for (const size_t key : {nth, size_t{0}}) {
                if (const auto found = faults->second.find(key); found != faults->second.end()) {
                    fault = found->second;
                    break;
                }
            }
        }
        if (const auto found = s.now.hooks.find(name); found != s.now.hooks.end()) {
            hook = found->second;
        }
    }
    if (hook) {
        hook();
    }
    return fault;
}

}  // namespace

OwnWork::OwnWork() {
    ++own_work;
}

OwnWork::~OwnWork() {
    --own_work;
}

bool in_own_work() {
    return own_work != 0;
}

int64_t note(const char* name, std::string text) {
    return note_call(name, std::move(text), false);
}

int64_t note_quiet(const char* name) {
    return note_call(name, {}, true);
}

void FakeHost::State::complain(std::string what) {
    now.complaints.push_back(std::move(what));
}

std::string dump(const json_t* value) {
    if (value == nullptr) {
        return "null";
    }
    char* text = qiv_json_dumps(value, JSON_COMPACT | JSON_ENCODE_ANY);
    if (text == nullptr) {
        return "unprintable";
    }
    std::string result = text;
    qiv_jsonp_free(text);
    return result;
}

json_t* parse(const char* text) {
    return text == nullptr ? nullptr : qiv_json_loads(text, JSON_DECODE_ANY, nullptr);
}

void release(json_t* value) {
    if (value == nullptr || value->refcount == static_cast<size_t>(-1)) {
        return;
    }
    if (__atomic_sub_fetch(&value->refcount, size_t{1}, __ATOMIC_ACQ_REL) == 0) {
        qiv_json_delete(value);
    }
}

void* new_block(size_t size, BlockKind kind) {
    void* block = std::calloc(1, size == 0 ? 1 : size);
    if (block != nullptr) {
        const OwnWork own;
        FakeHost::State& s = state();
        const Guard guard(s.mutex);
        s.blocks[block] = kind;
    }
    return block;
}

void free_block(void* block, BlockKind kind, const char* by) {
    if (block == nullptr) {
        return;
    }
    {
        FakeHost::State& s = state();
        const Guard guard(s.mutex);
        const auto found = s.blocks.find(block);
        if (found == s.blocks.end()) {
            s.complain(std::string(by) + " of something that is no live block of the host's");
            return;
        }
        if (found->second != kind) {
            s.complain(std::string(by) + " of a block from another kind of call");
        }
        s.blocks.erase(found);
    }
    std::free(block);
}

FakeHost::FakeHost() : state_(new State) {}

FakeHost& FakeHost::get() {
    static FakeHost* const host = new FakeHost;  // outlives static destruction
    return *host;
}

void FakeHost::reset() {
    const Guard guard(state_->mutex);
    forget_conditions(*state_);
    state_->now = Settings{};
    state_->blocks.clear();
    state_->messages.clear();
}

std::vector<std::string> FakeHost::complaints() {
    const Guard guard(state_->mutex);
    std::vector<std::string> result = state_->now.complaints;
    const auto count_of = [this](BlockKind kind) {
        return std::count_if(state_->blocks.begin(), state_->blocks.end(),
                             [kind](const auto& block) { return block.second == kind; });
    };
    const std::pair<BlockKind, const char*> kinds[] = {{BlockKind::memory, "memory blocks"},
                                                       {BlockKind::text, "texts"},
                                                       {BlockKind::split, "split arrays"}};
    for (const auto& [kind, name] : kinds) {
        if (const auto left = count_of(kind); left != 0) {
            result.push_back(std::to_string(left) + " " + name + " never given back");
        }
    }
    if (const int64_t held = state_->locks_held; held != 0) {
        result.push_back(std::to_string(held) + " holds of locks never released");
    }
    for (const auto& [handle, condition] : state_->conditions) {
        if (condition->param != nullptr && condition->param->refcount != 1) {
            result.push_back("a condition's parameters have a changed reference count");
        }
    }
    for (size_t i = 0; i < state_->now.threads.size(); ++i) {
        if (!state_->now.threads[i]->detached) {
            result.push_back("thread " + std::to_string(i) + " was never detached");
        }
    }
    return result;
}

std::vector<Call> FakeHost::calls() const {
    const Guard guard(state_->mutex);
    return state_->now.calls;
}

std::vector<std::string> FakeHost::call_names() const {
    const Guard guard(state_->mutex);
    std::vector<std::string> names;
    names.reserve(state_->now.calls.size());
    for (const Call& call : state_->now.calls) {
        names.push_back(call.name);
    }
    return names;
}

std::vector<Call> FakeHost::calls_of(std::string_view name) const {
    const Guard guard(state_->mutex);
    std::vector<Call> result;
    std::copy_if(state_->now.calls.begin(), state_->now.calls.end(), std::back_inserter(result),
                 [name](const Call& call) { return call.name == name; });
    return result;
}

size_t FakeHost::count(std::string_view name) const {
    const Guard guard(state_->mutex);
    const auto found = state_->now.counts.find(name);
    return found == state_->now.counts.end() ? 0 : found->second;
}

void FakeHost::record_everything() {
    const Guard guard(state_->mutex);
    state_->now.record_everything = true;
}

void FakeHost::forget_calls() {
    const Guard guard(state_->mutex);
    state_->now.calls.clear();
    state_->now.log_lines.clear();
    state_->now.relations.clear();
    state_->now.unidentified.clear();
    state_->now.condition_results.clear();
}

void FakeHost::fail(std::string_view name, int64_t result, size_t nth) {
    const Guard guard(state_->mutex);
    state_->now.faults[std::string(name)][nth] = result;
}

void FakeHost::fail_text(std::string_view text) {
    const Guard guard(state_->mutex);
    state_->now.failing_texts.emplace(text);
}

void FakeHost::on_call(std::string_view name, std::function<void()> hook) {
    const Guard guard(state_->mutex);
    state_->now.hooks[std::string(name)] = std::move(hook);
}

void FakeHost::set_log_level(int32_t level) {
    const Guard guard(state_->mutex);
    state_->now.log_level = level;
}

void FakeHost::set_log_registered(bool registered) {
    const Guard guard(state_->mutex);
    state_->now.log_registered = registered;
}

void FakeHost::set_log_dir(std::string_view folder) {
    const Guard guard(state_->mutex);
    state_->now.log_dir = folder;
}

void FakeHost::set_program_path(std::string_view path) {
    const Guard guard(state_->mutex);
    state_->now.program_path = path;
}

std::vector<LogLine> FakeHost::log_lines() const {
    const Guard guard(state_->mutex);
    return state_->now.log_lines;
}

std::vector<std::string> FakeHost::messages(int32_t level) const {
    const Guard guard(state_->mutex);
    std::vector<std::string> result;
    for (const LogLine& line : state_->now.log_lines) {
        if (level == 0 || line.level == level) {
            result.push_back(line.message);
        }
    }
    return result;
}

std::vector<std::string> FakeHost::autologs() const {
    const Guard guard(state_->mutex);
    return state_->now.autologs;
}

void FakeHost::set_signer(std::string_view path, std::string_view name) {
    const Guard guard(state_->mutex);
    state_->now.signers[std::string(path)] = name;
}

}  // namespace fakehost
