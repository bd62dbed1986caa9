#include "plugins/kolvessa/app_main/conditions.h"

#include "plugins/kolvessa/app_main/condition_table.h"
#include "plugins/kolvessa/app_main/entry.h"
#include "plugins/kolvessa/kolvessa/kolvessa.h"
#include "plugins/kolvessa/never_destroyed.h"

namespace kolvessa {
namespace {

// Before the plug-in is initialised no library is installed.
bool library_present(std::string_view tag) {
    const CKolvessa* const kolvessa = g_kolvessa.load(std::memory_order_acquire);
    return kolvessa != nullptr && kolvessa->has_library(tag);
}

// Conditions may be reported while the process ends.
NeverDestroyed<ConditionTable> conditions(library_present);

}  // namespace

int32_t condition_callback(orvu_cond condition, int32_t operation) {
    return conditions->callback(condition, operation);
}

void conditions_refresh() {
    conditions->refresh();
}

}  // namespace kolvessa
