#ifndef KOLVESSA_KOLVESSA_VERSION_INFO_H
#define KOLVESSA_KOLVESSA_VERSION_INFO_H

// The version strings of one executable. Nothing is logged; a block that breaks its own rules has
// no values where it does. One reader serves one extraction on one thread.

#include <cstddef>
#include <cstdint>
#include <memory>

#include "orvubase.h"
#include "plugins/kolvessa/platform/executable_file.h"
#include "plugins/kolvessa/text.h"

namespace kolvessa {

struct free_host_block {
    void operator()(uint8_t* block) const { orvu_free_(block); }
};

struct VersionInfoReader {
    std::unique_ptr<uint8_t, free_host_block> data;  // the version block, from the host's memory
    size_t size = 0;                                 // how much of it may be read
    uint32_t translation = 0;  // language in the high 16 bits, code page in the low ones
};

// Fetches the block and settles the translation. 0: done, also when memory for the block is
// refused, and then every query fails; 1: the file has no version resource; 2: the resource can't
// be read.
int32_t version_info_open(VersionInfoReader& reader, platform::ExecutableFile& file);
int32_t version_info_open(VersionInfoReader& reader, const orvu_wchar* path);

// The string named `key` of the reader's translation. 0: assigned, with the length that the file
// states, so the text may end in its NUL; 1: there is none; 2: it is shorter than 2 characters.
int32_t version_info_query(const VersionInfoReader& reader, const orvu_wchar* key,
                           wide_string& out);

}  // namespace kolvessa

#endif  // KOLVESSA_KOLVESSA_VERSION_INFO_H
