#ifndef KOLVESSA_KOLVESSA_ICON_HASH_H
#define KOLVESSA_KOLVESSA_ICON_HASH_H

// The MD5 of a file's first icon image, the bytes of its first RT_ICON resource. Nothing is logged;
// any thread.
//
//   0            hashed, `text` holds the digest
//   2            no "MZ"
//   3            no PE signature
//   4            no resources, or no RT_ICON with data
//   6            no resource directory
//   11           null path
//   21           the file can't be opened
//   31           it can't be mapped as an image
//   41           the mapping can't be viewed
//   10 * r + 5   MD5 failed with r

#include <cstdint>

#include "orvu_types.h"
#include "plugins/kolvessa/platform/executable_file.h"

namespace kolvessa {

// `text` is a zeroed buffer of 33 bytes. Data that lies outside the image counts as no data, and so
// does an image of more than 64 MiB and a tree with more than 16384 languages to look through.
int32_t calc_icon_hash(platform::ExecutableFile& file, char* text);
int32_t calc_icon_hash(const orvu_wchar* path, char* text);

}  // namespace kolvessa

#endif  // KOLVESSA_KOLVESSA_ICON_HASH_H
