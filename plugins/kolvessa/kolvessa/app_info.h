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

}  // namespace kolvessa

#endif  // KOLVESSA_KOLVESSA_APP_INFO_H
