#ifndef ORVU_STANDALONE_ORVUBASE_SYSTEM_H
#define ORVU_STANDALONE_ORVUBASE_SYSTEM_H

// What liborvubase asks of the operating system; one body in posix/, one in windows/. Any thread
// may call any of these. Paths called native are the system's own in UTF-8.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orvu::system {

// Makes one folder, whose parent exists. A failure shows in is_folder.
void make_folder(const std::string& native, int32_t mode);
bool is_folder(const std::string& native);

// The home when nobody chose one.
std::string default_home();

// The file name that the running program has within the framework.
extern const char* const PROGRAM_NAME;

uint32_t own_pid();

// Writes to standard error without a buffer; failures are dropped.
void write_error(std::string_view text);

// From here on the library stays in the process even if its last user lets it go.
void stay_loaded();

}  // namespace orvu::system

#endif  // ORVU_STANDALONE_ORVUBASE_SYSTEM_H
