#ifndef ORVU_STANDALONE_ORVU_CORE_THREAD_SLOT_H
#define ORVU_STANDALONE_ORVU_CORE_THREAD_SLOT_H

#include <memory>

namespace orvu {

class Mailbox;

/* Where the calling thread's mailbox is kept, empty at first. Null when memory ran out or the
 * thread is already being torn down. */
std::shared_ptr<Mailbox>* thread_slot();

/* Called on a thread that ends, with what stands in its slot; the slot is gone afterwards. Defined
 * by the mailboxes. */
void thread_slot_ended(const std::shared_ptr<Mailbox>& box);

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_THREAD_SLOT_H
