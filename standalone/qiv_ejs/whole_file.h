#ifndef ORVU_QIV_EJS_WHOLE_FILE_H
#define ORVU_QIV_EJS_WHOLE_FILE_H

// A file as one piece: read whole, or replaced whole. Paths are framework paths in UTF-8; each body
// (posix/, windows/) turns them into the system's own. Any thread may call; both calls block for
// the disk and for nothing else: opening never waits for the other end of a pipe.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace orvu::ejs {

struct content {
    std::unique_ptr<char[]> data;
    size_t size = 0;
};

// What went wrong: a qiv_ejs_reason, and the same in words (with the system's own where it spoke).
struct failure {
    int32_t kind = 0;
    std::string reason;
};

// Reads the regular file at `path`, at most `limit` bytes. False with `why` filled when it is
// missing, is no regular file, is larger (also when it grows meanwhile), or can't be read.
bool read_whole_file(const char* path, size_t limit, content& out, failure& why);

// Makes `data` the content of the file at `path`: a new file in the same folder is written,
// flushed and moved over it, and the folder is flushed. At every moment the path names the old
// content or the new one, whole. An existing file must be a regular one; its mode (on Windows its
// hidden, system and index attributes) is kept, and a symbolic link stays while the file that it
// leads to is replaced. Nothing is left behind on failure; a process that is killed may leave its
// temporary file, named ".ejs-" and 16 hex digits. False with `why` filled on failure.
bool replace_file(const char* path, std::string_view data, failure& why);

// A name for the temporary file that nobody can foresee.
std::string temporary_name();

}  // namespace orvu::ejs

#endif  // ORVU_QIV_EJS_WHOLE_FILE_H
