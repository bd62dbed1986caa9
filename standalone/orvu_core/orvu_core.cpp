// The contract's calls for plug-ins, except the driver layers: each checks its arguments, bars
// exceptions, and passes on.
#include "orvu_core.h"

#include <algorithm>

#include "standalone/orvu_core/core.h"

using orvu::core;
using orvu::guarded;

int32_t orvu_res_locate(const char* path, int32_t /*flag*/, orvu_res_handler handler) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY},
                   [&] { return core().resources.locate(path, handler, nullptr); });
}

int32_t orvu_res_locate_ex(const char* path, int32_t check, int32_t /*flag*/,
                           orvu_res_handler handler, const char* schema) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY}, [&] {
        // A check without a schema is told like one with a bad schema.
        const char* const checked = schema == nullptr ? "" : schema;
        return core().resources.locate(path, handler, check == 0 ? nullptr : checked);
    });
}

json_t* orvur_req_get_param(orvu_request request) {
    return guarded<json_t*>(nullptr, [&] { return core().resources.param(request); });
}

orvu_subscriber orvu_subscriber_new(const orvu_subscriber_attr* attr) {
    return guarded(orvu_subscriber{0}, [&] {
        return attr == nullptr ? orvu_subscriber{0} : core().subscriptions.create(*attr);
    });
}

int32_t orvu_subscriber_subscribe(orvu_subscriber s, const char* subscribee, int32_t /*flag*/,
                                  orvu_subscription_cb callback) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY}, [&] {
        orvu::SubscriberSide side;
        side.contract = callback;
        return core().subscriptions.subscribe(s, subscribee, side);
    });
}

int32_t orvu_subscriber_pushforward(orvu_subscriber s, json_t* object, int32_t /*a*/,
                                    int32_t /*b*/) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY},
                   [&] { return core().subscriptions.push_forward(s, object); });
}

const orvu_subscriber_attr* orvu_subscriber_get_attr(orvu_subscriber_ref ref) {
    return guarded<const orvu_subscriber_attr*>(nullptr,
                                                [&] { return core().subscriptions.attr(ref); });
}

int32_t orvu_subscribee_install(const char* name, int32_t /*a*/, int32_t /*b*/,
                                orvu_subscription_cb callback, void (* /*second*/)(void)) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY},
                   [&] { return core().subscriptions.install(name, callback); });
}

int32_t orvu_subscribee_pushback(orvu_subscriber_ref ref, json_t* object, int32_t /*a*/,
                                 int32_t /*b*/) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY},
                   [&] { return core().subscriptions.push_back(ref, object); });
}

int32_t orvu_cond_exec_install(const char* name, int32_t /*a*/, int32_t /*b*/,
                               orvu_cond_cb callback) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY},
                   [&] { return core().conditions.install(name, callback); });
}

const orvu_cond_attr* orvu_cond_get_attr(orvu_cond cond) {
    return guarded<const orvu_cond_attr*>(nullptr, [&] { return core().conditions.attr(cond); });
}

int32_t orvu_cond_res_changed(orvu_cond cond, const orvu_cond_result* result) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY},
                   [&] { return core().conditions.report(cond, result); });
}

void orvu_poll_wait(int32_t interval) {
    guarded(uint32_t{0}, [&] {
        core();
        const auto mailbox = orvu::Mailbox::current();
        const auto seconds = std::chrono::seconds(std::max(interval, 0));
        return mailbox ? mailbox->wait(std::chrono::steady_clock::now() + seconds) : uint32_t{0};
    });
}

orvu_timer orvu_timer_start(uint32_t delay, orvu_timer_cb callback, void* argument) {
    return guarded(orvu_timer{0}, [&] { return core().timers.start(delay, callback, argument); });
}

int32_t orvu_timer_stop(orvu_timer timer) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY}, [&] { return core().timers.stop(timer); });
}

int32_t orvu_dbg_decl(const char* /*name*/, const char* command, const char* help,
                      orvu_dbg_handler handler) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY},
                   [&] { return core().console.declare(command, help, handler); });
}

int32_t orvu_dbg_echo(orvu_dbg context, int32_t code, const char* text) {
    return guarded(int32_t{ORVU_HOST_NO_MEMORY},
                   [&] { return core().console.echo(context, code, text); });
}
