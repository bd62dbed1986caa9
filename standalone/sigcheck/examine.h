#ifndef ORVU_SIGCHECK_EXAMINE_H
#define ORVU_SIGCHECK_EXAMINE_H

// One look at one file: its first embedded signature, whether it is intact, whom it names, and
// whether the given roots vouch for it. Keeps nothing; any thread. Reads at most 16 MiB of
// signature, and hashes the rest of the file through a buffer of fixed size.

#include <cstdint>
#include <string>

#include "standalone/sigcheck/file.h"
#include "standalone/sigcheck/trust.h"

namespace orvu::sigcheck {

// The facts as sigcheck_query tells them.
struct verdict {
    int32_t state = 0;
    bool intact = false;
    int32_t trusted = -1;
    std::basic_string<orvu_wchar> name{};
};

// `roots` may be null: then nobody is asked for trust. `size` is the file's size when it was
// opened; a file that is shorter by now counts as one that can't be read.
verdict examine(const ReadableFile& file, uint64_t size, const TrustRoots* roots,
                const orvu_wchar* path);

}  // namespace orvu::sigcheck

#endif  // ORVU_SIGCHECK_EXAMINE_H
