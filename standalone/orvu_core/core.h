#ifndef ORVU_STANDALONE_ORVU_CORE_CORE_H
#define ORVU_STANDALONE_ORVU_CORE_CORE_H

#include <new>
#include <system_error>

#include "standalone/orvu_core/conditions.h"
#include "standalone/orvu_core/console.h"
#include "standalone/orvu_core/event_driver.h"
#include "standalone/orvu_core/memory_relation_store.h"
#include "standalone/orvu_core/resources.h"
#include "standalone/orvu_core/subscriptions.h"
#include "standalone/orvu_core/timers.h"

namespace orvu {

/* The parts of the library, one of each in a process. Nothing of it is ever destroyed: its threads,
 * and those of whoever hosts plug-ins, may still use it while the process ends. */
struct Core {
    Resources resources;
    Subscriptions subscriptions;
    Conditions conditions;
    Console console;
    Timers timers;
    EventDriver events;
    MemoryRelationStore memory;
    RelationStore& relations = memory;
};

Core& core();

/* Runs the body of a C function: what can be thrown in it becomes the given result. */
template <typename Result, typename Body>
Result guarded(Result on_failure, Body body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return on_failure;
    } catch (const std::system_error&) {
        return on_failure;
    }
}

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_CORE_H
