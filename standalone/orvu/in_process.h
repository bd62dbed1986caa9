#ifndef ORVU_PROGRAM_IN_PROCESS_H
#define ORVU_PROGRAM_IN_PROCESS_H

// A plug-in of this process's own, reached as any host reaches it: its library loaded, its entry
// called, and then events alone. Once started it runs until the process ends. One thread.

#include <cstdint>
#include <string>
#include <vector>

#include "standalone/orvu/library_file.h"

namespace orvu {

// What one process-start event led to.
struct Identification {
    std::vector<uint32_t> appids;  // as told to the function driver, in ascending order
    std::string outcome;           // a word of the documented set
};

// Makes the libraries known through the list file of the present home, loads the plug-in from
// beside the program, and waits until it takes events. False with the reason in `why`.
bool start_plugin(const std::vector<LibraryFile>& libraries, std::string& why);

// Raises one event for a process with this executable, waits for its end, and reads what the
// plug-in told of it. `path` is native and absolute. The outcomes: "identified" (at least one
// appid), "no rule" (decided, but no rule describes it), "failed" (the decision failed), "timed
// out".
Identification identify_path(const std::string& path);

}  // namespace orvu

#endif  // ORVU_PROGRAM_IN_PROCESS_H
