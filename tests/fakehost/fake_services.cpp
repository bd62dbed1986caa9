// The rest of orvu_core.h: resources, subscriptions, conditions, timers, the debug console.

#include "tests/fakehost/fake_state.h"

namespace fakehost {
namespace {

using Guard = std::lock_guard<std::mutex>;

std::string or_null(const char* text) {
    return text == nullptr ? "null" : text;
}

void register_resource(const char* name, const char* path, orvu_res_handler handler,
                       const char* schema) {
    FakeHost::State& s = state();
    const Guard guard(s.mutex);
    if (path == nullptr || handler == nullptr) {
        s.complain(std::string(name) + " without a path or a handler");
        return;
    }
    s.now.resources[path] = {handler, schema == nullptr ? std::string() : schema};
}

}  // namespace

void forget_conditions(FakeHost::State& s) {
    for (const auto& [handle, condition] : s.conditions) {
        release(condition->param);
    }
    s.conditions.clear();
}

orvu_cond FakeHost::attach(const std::string& executor, const char* param) {
    orvu_cond handle = 0;
    {
        json_t* object = parse(param);
        const Guard guard(state_->mutex);
        handle = state_->next_handle++;
        auto condition = std::make_unique<Condition>();
        condition->param = object;
        condition->attributes.param = object;
        state_->conditions[handle] = std::move(condition);
    }
    operate(executor, handle, 0);
    return handle;
}

void FakeHost::operate(const std::string& executor, orvu_cond condition, int32_t operation) {
    orvu_cond_cb callback = nullptr;
    {
        const Guard guard(state_->mutex);
        const auto found = state_->now.executors.find(executor);
        if (found == state_->now.executors.end()) {
            state_->complain("no condition executor " + executor);
            return;
        }
        callback = found->second;
    }
    callback(condition, operation);
}

void FakeHost::detach(const std::string& executor, orvu_cond condition) {
    operate(executor, condition, 1);
}

std::vector<ConditionResult> FakeHost::condition_results() const {
    const Guard guard(state_->mutex);
    return state_->now.condition_results;
}

bool FakeHost::has_resource(const std::string& path) const {
    const Guard guard(state_->mutex);
    return state_->now.resources.contains(path);
}

std::string FakeHost::request(const std::string& path, const char* param) {
    orvu_res_handler handler = nullptr;
    json_t* object = parse(param);
    orvu_request handle = 0;
    {
        const Guard guard(state_->mutex);
        const auto found = state_->now.resources.find(path);
        if (found == state_->now.resources.end()) {
            state_->complain("no resource " + path);
            release(object);
            return "null";
        }
        handler = found->second.handler;
        handle = state_->next_handle++;
        state_->now.requests[handle] = object;
    }
    json_t* const response = handler(0, handle);
    std::string text = dump(response);
    release(response);
    const Guard guard(state_->mutex);
    state_->now.requests.erase(handle);
    if (object != nullptr && object->refcount != 1) {
        state_->complain("a request's parameters have a changed reference count");
    }
    release(object);
    return text;
}

void FakeHost::report_registration(const std::string& path, int32_t status) {
    orvu_res_handler handler = nullptr;
    {
        const Guard guard(state_->mutex);
        const auto found = state_->now.resources.find(path);
        if (found == state_->now.resources.end()) {
            state_->complain("no resource " + path);
            return;
        }
        handler = found->second.handler;
    }
    if (json_t* const response = handler(status, 0); response != nullptr) {
        const Guard guard(state_->mutex);
        state_->complain("a response to the report of a registration");
    }
}

void FakeHost::notify(const std::string& subscribee, int32_t error, int32_t moment,
                      const char* payload, orvu_subscriber_ref reference) {
    orvu_subscription_cb callback = nullptr;
    {
        const Guard guard(state_->mutex);
        const auto found = state_->now.subscribees.find(subscribee);
        if (found == state_->now.subscribees.end()) {
            state_->complain("no subscribee " + subscribee);
            return;
        }
        callback = found->second;
    }
    json_t* const object = parse(payload);
    callback(error, 0, moment, object, reference);
    if (object != nullptr && object->refcount != 1) {
        const Guard guard(state_->mutex);
        state_->complain("a payload has a changed reference count");
    }
    release(object);
}

void FakeHost::set_subscriber_attr(orvu_subscriber_ref reference, std::string_view ns,
                                   std::string_view name) {
    const Guard guard(state_->mutex);
    auto& texts = state_->now.subscriber_attrs[reference];
    texts = {std::string(ns), std::string(name)};
    state_->now.attr_records[reference] = {texts.first.c_str(), texts.second.c_str(), 0};
}

std::vector<std::string> FakeHost::echo(const std::string& command,
                                        const std::vector<std::string>& args) {
    orvu_dbg_handler handler = nullptr;
    orvu_dbg context = 0;
    {
        const Guard guard(state_->mutex);
        const auto found = state_->now.commands.find(command);
        if (found == state_->now.commands.end()) {
            state_->complain("no command " + command);
            return {};
        }
        handler = found->second;
        context = state_->next_handle++;
    }
    std::vector<const char*> argv = {command.c_str()};
    for (const std::string& arg : args) {
        argv.push_back(arg.c_str());
    }
    handler(static_cast<int32_t>(argv.size()), argv.data(), context);
    const Guard guard(state_->mutex);
    return state_->now.echoes[context];
}

void FakeHost::fire_timer(orvu_timer timer) {
    Timer fired;
    {
        const Guard guard(state_->mutex);
        const auto found = state_->now.timers.find(timer);
        if (found == state_->now.timers.end()) {
            state_->complain("no such timer runs");
            return;
        }
        fired = found->second;
        state_->now.timers.erase(found);
    }
    fired.callback(0, fired.argument);
}

}  // namespace fakehost

using fakehost::note;
using fakehost::or_null;
using fakehost::state;
using Guard = std::lock_guard<std::mutex>;

int32_t orvu_res_locate(const char* path, int32_t flag, orvu_res_handler handler) {
    const int64_t fault = note("orvu_res_locate", or_null(path) + ", " + std::to_string(flag));
    if (fault == 0) {
        fakehost::register_resource("orvu_res_locate", path, handler, nullptr);
    }
    return static_cast<int32_t>(fault);
}

int32_t orvu_res_locate_ex(const char* path, int32_t check, int32_t flag, orvu_res_handler handler,
                           const char* schema) {
    const int64_t fault = note("orvu_res_locate_ex", or_null(path) + ", " + std::to_string(check) +
                                                         ", " + std::to_string(flag));
    if (fault == 0) {
        fakehost::register_resource("orvu_res_locate_ex", path, handler, schema);
    }
    return static_cast<int32_t>(fault);
}

json_t* orvur_req_get_param(orvu_request request) {
    const int64_t fault = note("orvur_req_get_param");
    const Guard guard(state().mutex);
    const auto found = state().now.requests.find(request);
    if (found == state().now.requests.end()) {
        state().complain("orvur_req_get_param outside a request");
        return nullptr;
    }
    return fault == 0 ? found->second : nullptr;
}

orvu_subscriber orvu_subscriber_new(const orvu_subscriber_attr* attr) {
    const int64_t fault = note("orvu_subscriber_new",
                               attr == nullptr ? "null"
                                               : or_null(attr->ns) + ", " + or_null(attr->name) +
                                                     ", " + std::to_string(attr->reserved));
    if (fault != 0 || attr == nullptr) {
        return 0;
    }
    const Guard guard(state().mutex);
    const orvu_subscriber handle = state().next_handle++;
    state().now.subscribers.insert(handle);
    return handle;
}

int32_t orvu_subscriber_subscribe(orvu_subscriber s, const char* subscribee, int32_t flag,
                                  orvu_subscription_cb callback) {
    const int64_t fault =
        note("orvu_subscriber_subscribe", std::string(s == 0 ? "null" : "subscriber") + ", " +
                                              or_null(subscribee) + ", " + std::to_string(flag));
    if (callback == nullptr) {
        const Guard guard(state().mutex);
        state().complain("a subscription without a callback");
    } else {
        // Whatever the moment, a subscriber's callback must bear it.
        callback(0, 0, 0, nullptr, 0);
    }
    return static_cast<int32_t>(fault);
}

int32_t orvu_subscriber_pushforward(orvu_subscriber s, json_t* object, int32_t a, int32_t b) {
    const int64_t fault =
        note("orvu_subscriber_pushforward",
             fakehost::dump(object) + ", " + std::to_string(a) + ", " + std::to_string(b));
    const Guard guard(state().mutex);
    if (!state().now.subscribers.contains(s) || object == nullptr) {
        state().complain("a push forward by no subscriber or of nothing");
    }
    return static_cast<int32_t>(fault);
}

const orvu_subscriber_attr* orvu_subscriber_get_attr(orvu_subscriber_ref ref) {
    const int64_t fault = note("orvu_subscriber_get_attr", std::to_string(ref));
    const Guard guard(state().mutex);
    const auto found = state().now.attr_records.find(ref);
    return fault != 0 || found == state().now.attr_records.end() ? nullptr : &found->second;
}

int32_t orvu_subscribee_install(const char* name, int32_t a, int32_t b,
                                orvu_subscription_cb callback, void (*second)()) {
    const int64_t fault = note("orvu_subscribee_install",
                               or_null(name) + ", " + std::to_string(a) + ", " + std::to_string(b) +
                                   ", " + (second == nullptr ? "null" : "function"));
    const Guard guard(state().mutex);
    if (name == nullptr || callback == nullptr) {
        state().complain("a subscribee without a name or a callback");
        return 1;
    }
    if (fault == 0) {
        state().now.subscribees[name] = callback;
    }
    return static_cast<int32_t>(fault);
}

int32_t orvu_subscribee_pushback(orvu_subscriber_ref ref, json_t* object, int32_t a, int32_t b) {
    const int64_t fault =
        note("orvu_subscribee_pushback", std::to_string(ref) + ", " + fakehost::dump(object) +
                                             ", " + std::to_string(a) + ", " + std::to_string(b));
    if (ref == 0 || object == nullptr) {
        const Guard guard(state().mutex);
        state().complain("a push back to nobody or of nothing");
    }
    return static_cast<int32_t>(fault);
}

int32_t orvu_cond_exec_install(const char* name, int32_t a, int32_t b, orvu_cond_cb callback) {
    const int64_t fault = note("orvu_cond_exec_install",
                               or_null(name) + ", " + std::to_string(a) + ", " + std::to_string(b));
    const Guard guard(state().mutex);
    if (name == nullptr || callback == nullptr) {
        state().complain("a condition executor without a name or a callback");
        return 1;
    }
    if (fault == 0) {
        state().now.executors[name] = callback;
    }
    return static_cast<int32_t>(fault);
}

const orvu_cond_attr* orvu_cond_get_attr(orvu_cond cond) {
    const int64_t fault = note("orvu_cond_get_attr", std::to_string(cond));
    const Guard guard(state().mutex);
    const auto found = state().conditions.find(cond);
    return fault != 0 || found == state().conditions.end() ? nullptr : &found->second->attributes;
}

int32_t orvu_cond_res_changed(orvu_cond cond, const orvu_cond_result* result) {
    const int64_t fault = note(
        "orvu_cond_res_changed",
        std::to_string(cond) + ", " + (result == nullptr ? "null" : std::to_string(result->state)));
    const Guard guard(state().mutex);
    if (cond == 0 || result == nullptr) {
        state().complain("a condition result of nothing");
        return 1;
    }
    state().now.condition_results.push_back(
        {cond, result->state, {result->reserved[0], result->reserved[1]}});
    return static_cast<int32_t>(fault);
}

orvu_timer orvu_timer_start(uint32_t delay, orvu_timer_cb callback, void* argument) {
    const int64_t fault = note("orvu_timer_start", std::to_string(delay));
    const Guard guard(state().mutex);
    if (callback == nullptr) {
        state().complain("a timer without a callback");
    }
    if (fault != 0 || callback == nullptr) {
        return 0;
    }
    const orvu_timer handle = state().next_handle++;
    state().now.timers[handle] = {callback, argument};
    return handle;
}

int32_t orvu_timer_stop(orvu_timer timer) {
    const int64_t fault = note("orvu_timer_stop");
    const Guard guard(state().mutex);
    if (timer == 0) {
        state().complain("a stop of no timer");
    }
    state().now.timers.erase(timer);
    return static_cast<int32_t>(fault);
}

int32_t orvu_dbg_decl(const char* name, const char* command, const char* help,
                      orvu_dbg_handler handler) {
    const int64_t fault =
        note("orvu_dbg_decl", or_null(name) + ", " + or_null(command) + ", " + or_null(help));
    const Guard guard(state().mutex);
    if (name == nullptr || command == nullptr || handler == nullptr) {
        state().complain("a debug command without a name or a handler");
        return 1;
    }
    if (fault == 0) {
        state().now.commands[command] = handler;
    }
    return static_cast<int32_t>(fault);
}

int32_t orvu_dbg_echo(orvu_dbg context, int32_t code, const char* text) {
    const int64_t fault = note("orvu_dbg_echo", std::to_string(code) + ", " + or_null(text));
    const Guard guard(state().mutex);
    if (context == 0 || text == nullptr) {
        state().complain("an echo of nothing or to nobody");
        return 1;
    }
    state().now.echoes[context].emplace_back(text);
    return static_cast<int32_t>(fault);
}
