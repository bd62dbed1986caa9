#include "plugins/kolvessa/rule_update/rule_update_notification.h"

#include "plugins/kolvessa/app_main/poll.h"

namespace kolvessa {

void* thd_update(void* /*argument*/) {
    poll_for_ever();
}

}  // namespace kolvessa
