#include "standalone/orvu_core/thread_slot.h"

#include <windows.h>

#include <new>

namespace orvu {

namespace {

using Box = std::shared_ptr<Mailbox>;

// Stands in the slot of a thread that was told its end.
Box ended_mark;

DWORD slot_index();

void WINAPI end_of_thread(void* value) {
    auto* const box = static_cast<Box*>(value);
    if (box == nullptr || box == &ended_mark) {
        return;
    }
    // From here on the thread has no slot, whatever its end still calls.
    FlsSetValue(slot_index(), &ended_mark);
    thread_slot_ended(*box);
    delete box;
}

// The tool chain frees the memory of a thread_local before its destructor runs, so the system's own
// storage with a callback is used instead.
DWORD slot_index() {
    static const DWORD index = FlsAlloc(end_of_thread);
    return index;
}

}  // namespace

std::shared_ptr<Mailbox>* thread_slot() {
    const DWORD index = slot_index();
    if (index == FLS_OUT_OF_INDEXES) {
        return nullptr;
    }
    auto* box = static_cast<Box*>(FlsGetValue(index));
    if (box == &ended_mark) {
        return nullptr;
    }
    if (box == nullptr) {
        box = new (std::nothrow) Box;
        if (box != nullptr && FlsSetValue(index, box) == 0) {
            delete box;
            return nullptr;
        }
    }
    return box;
}

}  // namespace orvu
