#ifndef ORVU_STANDALONE_ORVUBASE_CORE_WINDOWS_RWLOCK_STATE_H
#define ORVU_STANDALONE_ORVUBASE_CORE_WINDOWS_RWLOCK_STATE_H

// What orvu::RwLock keeps on Windows: the word of an SRW lock, spelled without <windows.h> so that
// the header stays light.

namespace orvu {

struct RwLockState {
    void* srw = nullptr;
};

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVUBASE_CORE_WINDOWS_RWLOCK_STATE_H
