#include "plugins/kolvessa/app_main/entry.h"

#include <memory>
#include <new>

#include "plugins/kolvessa/app_main/conditions.h"
#include "plugins/kolvessa/app_main/threads.h"
#include "plugins/kolvessa/kolvessa/kolvessa.h"
#include "plugins/kolvessa/log.h"
#include "plugins/kolvessa/never_destroyed.h"

namespace kolvessa {

std::atomic<CKolvessa*> g_kolvessa = nullptr;
std::atomic<orvu_subscriber> g_app_rule_subscriber = 0;

namespace {

// Objects of failed starts. Threads that came up before the failure may use theirs for ever, so
// none is destroyed; the list keeps them in reach.
struct Abandoned {
    CKolvessa* object;
    Abandoned* next;
};

// One start at a time. Unlike other mutexes it is held over calls to the host: none of them comes
// back into the entry.
NeverDestroyed<Mutex> start_mutex;
Abandoned* abandoned GUARDED_BY(*start_mutex) = nullptr;

// A failing step's digit behind the code so far, the road of a failure in one number:
//   driver refused with r      r -> r1 -> r11 -> r111
//   no object                  2 -> 21 -> 211
//   no subscriber              3 -> 31 -> 311
//   1st, 2nd, 3rd thread       2, 3, 5 -> 21, 31, 51
// Unsigned inside, since r may be any number.
int32_t with_digit(int32_t code, uint32_t digit) {
    return static_cast<int32_t>(static_cast<uint32_t>(code) * 10 + digit);
}

void ignore_updates(int32_t /*error*/, uintptr_t /*reserved*/, int32_t /*moment*/,
                    json_t* /*payload*/, orvu_subscriber_ref /*ref*/) {}

CKolvessa* make_kolvessa() {
    try {
        return new CKolvessa;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

// The stages before the threads; 0, or the code of the one that failed.
int32_t make_state(void* host_argument) {
    const auto refused = static_cast<int32_t>(orvu_basedrv_init_driver(host_argument));
    if (refused != 0) {
        return with_digit(refused, 1);
    }
    g_kolvessa = make_kolvessa();
    if (g_kolvessa == nullptr) {
        return 2;
    }
    const orvu_subscriber_attr attributes = {"orvu", "app_rule", 0};
    const orvu_subscriber subscriber = orvu_subscriber_new(&attributes);
    orvu_subscriber_subscribe(subscriber, "rule_update_notification", 0, ignore_updates);
    g_app_rule_subscriber = subscriber;
    return subscriber == 0 ? 3 : 0;
}

int32_t kolvessa_init(void* host_argument) {
    if (int32_t code = make_state(host_argument); code != 0) {
        code = with_digit(code, 1);
        KOLVESSA_LOG_WARN("init kolvessa failed!\n");
        return code;
    }
    return start_threads();
}

// Undoes a start that failed, as far as it can be undone.
void abandon_start() REQUIRES(*start_mutex) {
    CKolvessa* const object = g_kolvessa;
    if (object == nullptr) {
        return;
    }
    object->abandon();
    // Without memory for the list's node the object is out of reach, which harms nothing.
    if (auto* const node = new (std::nothrow) Abandoned{object, abandoned}; node != nullptr) {
        abandoned = node;
    }
    g_kolvessa = nullptr;
}

int32_t start(void* host_argument) {
    const MutexLock guard(*start_mutex);
    int32_t result = 0;
    if (g_kolvessa == nullptr) {
        if (const int32_t code = kolvessa_init(host_argument); code != 0) {
            result = with_digit(code, 1);
        } else {
            orvu_cond_exec_install(condition_executor, 0, 0, condition_callback);
        }
    }
    KOLVESSA_LOG_INFO("kolvessa plugin:ret:%d \n", result);
    if (result != 0) {
        abandon_start();
    }
    return result;
}

}  // namespace
}  // namespace kolvessa

int32_t orvu_plugin_init(void* host_argument) {
    return kolvessa::start(host_argument);
}
