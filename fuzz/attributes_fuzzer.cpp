// Any file at all: its version strings, icon and signature are read without a fault.

#include "fuzz/input_file.h"
#include "plugins/kolvessa/kolvessa/app_info.h"
#include "standalone/sigcheck/sigcheck_host.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const kolvessa::fuzz::InputFile file;
    static const bool without_cache = [] {
        sigcheck_set_cache_limit(0);
        return true;
    }();
    file.write(data, size);
    kolvessa::AppInfo info;
    // The file's name is always had.
    if (!kolvessa::read_app_info(file.framework().c_str(), without_cache, info) ||
        info.procpath.empty()) {
        std::abort();
    }
    return 0;
}
