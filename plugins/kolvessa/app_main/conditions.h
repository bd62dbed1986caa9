#ifndef KOLVESSA_APP_MAIN_CONDITIONS_H
#define KOLVESSA_APP_MAIN_CONDITIONS_H

#include <cstdint>

#include "orvu_core.h"

namespace kolvessa {

inline constexpr const char* condition_executor = "tm_kolvessa";

// The executor "tm_kolvessa": whether process rule libraries with the tags in "type" are installed.
// Arrives where the entry's caller polls. See ConditionTable for what it does and gives.
int32_t condition_callback(orvu_cond condition, int32_t operation);

// Reports every live "tm_kolvessa" condition anew. Called after a library change, on any thread.
void conditions_refresh();

}  // namespace kolvessa

#endif  // KOLVESSA_APP_MAIN_CONDITIONS_H
