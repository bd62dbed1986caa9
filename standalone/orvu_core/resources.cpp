#include "standalone/orvu_core/resources.h"

#include <utility>

#include "standalone/orvu_core/codes.h"

namespace orvu {

/* One request on its way. The requester and the handler's task share it; whoever is last releases
 * what it holds. `param` belongs to the handler's thread from the post on. */
struct Request {
    JsonRef param;
    std::mutex mutex;
    std::condition_variable changed;
    bool begun = false;      // the handler runs or ran
    bool abandoned = false;  // the requester has gone
    bool finished = false;
    int32_t code = ORVU_HOST_OWNER_GONE;
    JsonRef response;

    // False when nobody waits for an answer any more.
    bool begin() {
        const std::lock_guard lock(mutex);
        begun = !abandoned;
        return begun;
    }

    void finish(int32_t outcome, JsonRef answer) {
        {
            const std::lock_guard lock(mutex);
            if (finished) {
                return;
            }
            finished = true;
            code = outcome;
            if (!abandoned) {
                response = std::move(answer);
            }
        }
        changed.notify_all();
    }
};

namespace {

// Answers for a task that is destroyed without having run: its thread has ended.
struct Unanswered {
    std::shared_ptr<Request> request;
    explicit Unanswered(std::shared_ptr<Request> waiting) : request(std::move(waiting)) {}
    Unanswered(const Unanswered&) = delete;
    Unanswered& operator=(const Unanswered&) = delete;
    ~Unanswered() { request->finish(ORVU_HOST_OWNER_GONE, JsonRef()); }
};

}  // namespace

int32_t Resources::locate(const char* path, orvu_res_handler handler, const char* schema) {
    if (handler == nullptr) {
        return ORVU_HOST_INVALID;
    }
    const std::shared_ptr<Mailbox> mailbox = Mailbox::current();
    if (!mailbox) {
        return ORVU_HOST_NO_MEMORY;
    }
    const int32_t outcome = enter(path, handler, schema, mailbox);
    // The result is posted after the path is entered: a request that another thread sends in
    // between may be handled first, which no handler minds.
    mailbox->post([handler, outcome] { JsonRef(handler(outcome, 0)); }, Mailbox::Kind::control);
    return outcome;
}

int32_t Resources::enter(const char* path, orvu_res_handler handler, const char* schema,
                         const std::shared_ptr<Mailbox>& mailbox) {
    if (!usable_name(path)) {
        return ORVU_HOST_INVALID;
    }
    std::shared_ptr<const SchemaCheck> check;
    if (schema != nullptr) {
        std::string reason;
        check = SchemaCheck::make(schema, &reason);
        if (!check) {
            return ORVU_HOST_BAD_PARAM;
        }
    }
    const std::lock_guard lock(mutex_);
    if (!resources_.try_emplace(path, Resource{mailbox, handler, std::move(check)}).second) {
        return ORVU_HOST_DUPLICATE;
    }
    registered_.notify_all();
    return ORVU_HOST_OK;
}

int32_t Resources::request(const char* path, json_t* param, uint32_t timeout_ms, JsonRef* response,
                           std::string* reason) {
    if (!usable_name(path)) {
        return ORVU_HOST_INVALID;
    }
    Resource resource;
    {
        const std::lock_guard lock(mutex_);
        const auto found = resources_.find(path);
        if (found == resources_.end()) {
            return ORVU_HOST_NOT_FOUND;
        }
        resource = found->second;
    }
    if (resource.mailbox == Mailbox::current()) {
        return ORVU_HOST_WOULD_BLOCK;
    }
    auto request = std::make_shared<Request>();
    CloneError error = CloneError::none;
    request->param = json_clone(param, &error);
    if (error != CloneError::none) {
        return error == CloneError::too_deep ? ORVU_HOST_INVALID : ORVU_HOST_NO_MEMORY;
    }
    if (resource.schema && !resource.schema->accepts(request->param.get(), reason)) {
        return ORVU_HOST_BAD_PARAM;
    }
    auto guard = std::make_shared<Unanswered>(request);
    const auto result = resource.mailbox->post(
        [this, guard, handler = resource.handler] {
            Request& request = *guard->request;
            if (!request.begin()) {
                return;
            }
            const uintptr_t handle = next_handle();
            running_.put(handle, guard->request);
            JsonRef answer(handler(0, handle));
            running_.erase(handle);
            request.param = JsonRef();
            const int32_t code = answer ? ORVU_HOST_OK : ORVU_HOST_NO_ANSWER;
            request.finish(code, std::move(answer));
        },
        Mailbox::Kind::ordinary);
    guard.reset();
    if (result != Mailbox::Result::posted) {
        return code_of(result);
    }
    return await(*request, timeout_ms, response);
}

int32_t Resources::await(Request& request, uint32_t timeout_ms, JsonRef* response) {
    const steady_time deadline = deadline_after(timeout_ms);
    std::unique_lock lock(request.mutex);
    if (!wait_until(request.changed, lock, deadline, [&request] { return request.finished; })) {
        request.abandoned = true;
        return ORVU_HOST_TIMED_OUT;
    }
    *response = std::move(request.response);
    return request.code;
}

int32_t Resources::wait_registered(const char* path, uint32_t timeout_ms) {
    if (!usable_name(path)) {
        return ORVU_HOST_INVALID;
    }
    const steady_time deadline = deadline_after(timeout_ms);
    std::unique_lock lock(mutex_);
    const bool there =
        wait_until(registered_, lock, deadline, [this, path] { return resources_.contains(path); });
    return there ? ORVU_HOST_OK : ORVU_HOST_TIMED_OUT;
}

json_t* Resources::param(orvu_request request) {
    const std::shared_ptr<Request> found = running_.find(request);
    return found ? found->param.get() : nullptr;
}

JsonRef Resources::list() {
    JsonRef array(qiv_json_array());
    const std::lock_guard lock(mutex_);
    for (const auto& [path, resource] : resources_) {
        JsonRef entry(qiv_json_object());
        qiv_json_object_set_new(entry.get(), "path", json_text(path.data(), path.size()).release());
        qiv_json_object_set_new(entry.get(), "schema",
                                resource.schema ? qiv_json_true() : qiv_json_false());
        qiv_json_array_append_new(array.get(), entry.release());
    }
    return array;
}

void Resources::drop_mailbox(const std::shared_ptr<Mailbox>& mailbox) {
    const std::lock_guard lock(mutex_);
    std::erase_if(resources_,
                  [&mailbox](const auto& entry) { return entry.second.mailbox == mailbox; });
}

}  // namespace orvu
