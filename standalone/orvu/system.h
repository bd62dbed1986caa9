#ifndef ORVU_PROGRAM_SYSTEM_H
#define ORVU_PROGRAM_SYSTEM_H

// What the program asks of the operating system itself. One header, two bodies (posix/, windows/).
// Paths are native and UTF-8. Called from the main thread unless a line says otherwise.

#include <cstdint>
#include <string>

#include "orvu_plugin.h"

namespace orvu {

// Standard output and error carry bytes as they are written (no line-end translation), and a reader
// that goes away makes a write fail instead of ending the program. SIGINT and SIGTERM only set the
// flag that `interrupted` reads, so that what was begun can be tidied up.
void prepare_streams();
bool interrupted();  // any thread

enum class Stream { in, out, error };
bool is_terminal(Stream stream);

// The default home folder, as the help words it.
std::string default_home_words();

// The folder that the program's file lies in; empty when the system won't say.
std::string program_folder();

// The path made absolute against the current folder, without touching the file.
std::string absolute_path(const std::string& path);

enum class FileKind { missing, file, other };
FileKind file_kind(const std::string& path);

// A new folder `parent`/`prefix`XXXXXX that only its owner may enter; empty on failure, with the
// reason in `why`. `parent` must exist.
std::string make_temporary_folder(const std::string& parent, const std::string& prefix,
                                  std::string& why);

// Removes a folder with all that is in it; what can't be removed stays.
void remove_folder(const std::string& path);

// Loads a plug-in's library and finds its entry; null on failure, with the reason in `why`. The
// library is never unloaded: its threads have no end.
orvu_plugin_entry load_plugin(const std::string& path, std::string& why);

// The file name of the plug-in's library, and the folder of the libraries beside the program's.
std::string plugin_file_name();

// Ends the process at once with this code, without static destructors: the plug-in's threads run on
// and may not find what they use taken away. Standard streams are flushed.
[[noreturn]] void leave(int code);

}  // namespace orvu

#endif  // ORVU_PROGRAM_SYSTEM_H
