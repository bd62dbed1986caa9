#ifndef ORVU_TESTS_STANDALONE_ORVUBASE_OWN_THREAD_ID_H
#define ORVU_TESTS_STANDALONE_ORVUBASE_OWN_THREAD_ID_H

// The system's identifier of the calling thread, asked of the system itself.

#include <cstdint>

uint64_t own_thread_id();

#endif  // ORVU_TESTS_STANDALONE_ORVUBASE_OWN_THREAD_ID_H
