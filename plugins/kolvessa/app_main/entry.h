#ifndef KOLVESSA_APP_MAIN_ENTRY_H
#define KOLVESSA_APP_MAIN_ENTRY_H

// What the entry makes, once for the process and for good: the plug-in has a start and no stop.

#include <atomic>

#include "orvu_core.h"
#include "orvu_plugin.h"

namespace kolvessa {

class CKolvessa;

// The process side. Null until the plug-in is initialised and again after a failed start, which a
// thread that was started before the failure must reckon with. What it once pointed to lives on.
extern std::atomic<CKolvessa*> g_kolvessa;

// The plug-in's own subscriber on "rule_update_notification", for pushing rule changes forward.
extern std::atomic<orvu_subscriber> g_app_rule_subscriber;

}  // namespace kolvessa

#endif  // KOLVESSA_APP_MAIN_ENTRY_H
