#ifndef KOLVESSA_RULE_UPDATE_RULE_UPDATE_NOTIFICATION_H
#define KOLVESSA_RULE_UPDATE_RULE_UPDATE_NOTIFICATION_H

namespace kolvessa {

// The entry of the thread that owns the rule update notifications. The argument is null; it polls
// for ever.
void* thd_update(void* argument);

}  // namespace kolvessa

#endif  // KOLVESSA_RULE_UPDATE_RULE_UPDATE_NOTIFICATION_H
