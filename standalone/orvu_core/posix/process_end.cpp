#include "standalone/orvu_core/process_end.h"

namespace orvu {

// The other threads run until the process is gone.
bool process_is_ending() {
    return false;
}

}  // namespace orvu
