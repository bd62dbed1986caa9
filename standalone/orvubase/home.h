#ifndef ORVU_STANDALONE_ORVUBASE_HOME_H
#define ORVU_STANDALONE_ORVUBASE_HOME_H

// The home folder of the host: bin/, var/ and log/ lie below it, and within the framework the
// running program is bin/orvu. Any thread may call; a Home, once answered, lives as long as the
// process.

#include <cstdint>
#include <string>

namespace orvu {

struct Home {
    std::string native;     // as the system and people spell it
    std::string framework;  // as framework paths spell it
};

// The home of now. Without a home set before, the default one, which is made here; if it cannot be
// made, what lies below it is simply not found.
const Home& home();

// orvu_host_set_home, except that it may throw std::bad_alloc.
int32_t set_home(const char* native_utf8);

// The path with a leading "@" replaced by the home's bin folder, "." and ".." behind it resolved;
// any other path as it is. "@" counts only as the whole first component.
std::string expand_path(const char* path);

// Makes `native` and the folders above it that are missing; true if it is a folder afterwards.
bool make_folders(const std::string& native, int32_t mode);

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVUBASE_HOME_H
