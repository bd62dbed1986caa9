#ifndef ORVU_STANDALONE_ORVU_CORE_CODES_H
#define ORVU_STANDALONE_ORVU_CORE_CODES_H

#include "standalone/orvu_core/mailbox.h"
#include "standalone/orvu_core/orvu_core_host.h"

namespace orvu {

inline int32_t code_of(Mailbox::Result result) {
    switch (result) {
        case Mailbox::Result::posted:
            return ORVU_HOST_OK;
        case Mailbox::Result::full:
            return ORVU_HOST_QUEUE_FULL;
        case Mailbox::Result::closed:
            break;
    }
    return ORVU_HOST_OWNER_GONE;
}

/* The one word that stands for a code in JSON answers. */
const char* code_word(int32_t code);

/* The longest name of a resource, subscribee, executor or command, in bytes. */
constexpr size_t kMaxName = 1024;

bool usable_name(const char* name);

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_CODES_H
