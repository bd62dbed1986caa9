#include "plugins/kolvessa/app_main/threads.h"

#include "orvubase.h"
#include "plugins/kolvessa/app_main/entry.h"
#include "plugins/kolvessa/app_main/poll.h"
#include "plugins/kolvessa/kolvessa/kolvessa.h"
#include "plugins/kolvessa/log.h"
#include "plugins/kolvessa/rule_update/rule_update_notification.h"

namespace kolvessa {

int32_t start_threads() {
    orvu_thread_record main = {};
    if (orvu_thread_start(&main, thd_kolvessa, nullptr) != 0) {
        return 2;
    }
    KOLVESSA_LOG_INFO("create kolvessa the thread suc %u  \n", static_cast<uint32_t>(main.id));
    orvu_thread_detach(&main);

    orvu_thread_record web = {};
    if (orvu_thread_start(&web, thd_kolvessa_web, nullptr) != 0) {
        return 3;
    }
    KOLVESSA_LOG_INFO("create kolvessa web the thread suc %u  \n", static_cast<uint32_t>(web.id));
    orvu_thread_detach(&web);

    orvu_thread_record update = {};
    if (orvu_thread_start(&update, thd_update, nullptr) != 0) {
        return 5;
    }
    // The line has always shown the web thread's identifier, and its readers know it so.
    KOLVESSA_LOG_INFO("create kolvessa thd_update the thread suc %u  \n",
                      static_cast<uint32_t>(web.id));
    orvu_thread_detach(&update);
    return 0;
}

void* thd_kolvessa(void* /*argument*/) {
    if (CKolvessa* const kolvessa = g_kolvessa; kolvessa != nullptr && kolvessa->claim_start()) {
        if (const int64_t code = kolvessa->kolvessa_start(); code != 0) {
            // NOLINTNEXTLINE(performance-no-int-to-ptr): a code, as the entry's type can carry it
            return reinterpret_cast<void*>(static_cast<intptr_t>(code * 10 + 1));
        }
    }
    poll_for_ever();
}

void* thd_kolvessa_web(void* /*argument*/) {
    poll_for_ever();
}

}  // namespace kolvessa
