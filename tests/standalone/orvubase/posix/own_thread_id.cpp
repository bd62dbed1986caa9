#include "tests/standalone/orvubase/own_thread_id.h"

#include <unistd.h>

uint64_t own_thread_id() {
    return static_cast<uint64_t>(gettid());
}
