#ifndef ORVU_PROGRAM_LIBRARY_FILE_H
#define ORVU_PROGRAM_LIBRARY_FILE_H

// Rule library files as the command line names them, checked before the plug-in sees them: it
// leaves out a file that it can't use, and a person wants to know why. One thread.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace orvu {

struct LibraryFile {
    std::string tag;     // "default" when none was given
    std::string native;  // the path as given, made absolute
    std::string framework;
};

// The categories that the libraries file each appid under, "tag/category/...", for showing names
// beside the numbers.
using category_map = std::map<uint32_t, std::string>;

// Takes [TAG=]FILE apart; a tag holds no slash or backslash. Two libraries under one tag, or an
// empty tag or file, are wrong use: false with the reason in `why`.
bool parse_library_arguments(const std::vector<std::string>& arguments,
                             std::vector<LibraryFile>& libraries, std::string& why);

// Reads one library and checks that it is a document with an "apprule" that yields at least one
// rule with an element. False with one line in `why` that names the file, the line or the place,
// and what was expected. Fills `categories` with the appids that are new.
bool check_library(const LibraryFile& library, category_map& categories, std::string& why);

}  // namespace orvu

#endif  // ORVU_PROGRAM_LIBRARY_FILE_H
