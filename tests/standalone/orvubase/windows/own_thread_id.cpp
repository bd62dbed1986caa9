#include "tests/standalone/orvubase/own_thread_id.h"

#include <windows.h>

uint64_t own_thread_id() {
    return GetCurrentThreadId();
}
