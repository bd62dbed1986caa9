#ifndef KOLVESSA_KOLVESSA_APP_INFO_H
#define KOLVESSA_KOLVESSA_APP_INFO_H

#include "plugins/kolvessa/text.h"

namespace kolvessa {

// The attributes of one file, as the file states them: nothing is trimmed, normalised or lowered.
// A value may end in the NUL of its version string; readers read up to the first NUL.
struct AppInfo {
    wide_string signer;
    wide_string iconhash;  // 32 lower-case hexadecimal digits: MD5 of the first icon image
    wide_string productname;
    wide_string originalname;
    wide_string copyright;
    wide_string description;
    wide_string procpath;
};

// Reads the attributes of the file at a framework path; `want_procpath` also keeps the path itself.
// True when at least one source gave something, if only the file's name. A source that fails leaves
// its fields as they are, so `info` comes in empty; a null path reads as an empty one. Reads the
// file only, logs nothing, and may be called from any thread; throws nothing but std::bad_alloc.
bool read_app_info(const orvu_wchar* path, bool want_procpath, AppInfo& info);

}  // namespace kolvessa

#endif  // KOLVESSA_KOLVESSA_APP_INFO_H
