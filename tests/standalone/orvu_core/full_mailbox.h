#ifndef ORVU_TESTS_STANDALONE_ORVU_CORE_FULL_MAILBOX_H
#define ORVU_TESTS_STANDALONE_ORVU_CORE_FULL_MAILBOX_H

#include <gtest/gtest.h>

#include "standalone/orvu_core/orvu_core_host.h"

namespace orvu::test {

/* Takes `places` places of the calling thread's mailbox with what a flood of payloads can't take:
 * the outcomes of registrations that are refused. */
inline void fill_own_mailbox(size_t places) {
    const orvu_res_handler handler = [](int32_t, orvu_request) -> json_t* {
        return nullptr;
    };
    for (size_t i = 0; i < places; ++i) {
        ASSERT_EQ(orvu_res_locate("", 0, handler), ORVU_HOST_INVALID);
    }
}

}  // namespace orvu::test

#endif  // ORVU_TESTS_STANDALONE_ORVU_CORE_FULL_MAILBOX_H
