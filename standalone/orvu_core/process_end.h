#ifndef ORVU_STANDALONE_ORVU_CORE_PROCESS_END_H
#define ORVU_STANDALONE_ORVU_CORE_PROCESS_END_H

namespace orvu {

/* Whether the system has already ended the process's other threads, so that a lock may be held by
 * one that will never release it. Any thread may ask. */
bool process_is_ending();

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_PROCESS_END_H
