// Any document as a rule library: what is loaded can be matched, listed and dropped again.

#include <vector>

#include "fuzz/input_file.h"
#include "plugins/kolvessa/app_rule/app_rule.h"
#include "standalone/orvubase/orvubase_host.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const kolvessa::fuzz::InputFile file;
    static const bool quiet = [] {
        orvu_host_log_level_set(0);
        return orvu_host_set_home((file.native() + "-home").c_str()) == 0;
    }();
    if (!quiet) {
        std::abort();
    }
    file.write(data, size);
    kolvessa::CAppRule store;
    bool changed = false;
    if (store.load_json_from_file(file.native().c_str(), "fuzz", changed) != 0) {
        return 0;
    }
    const bool loaded = store.do_all_parsh_json() == 0;
    if (loaded != (store.rule_count() != 0)) {
        std::abort();
    }
    std::vector<uint32_t> appids;
    store.get_appids_by_category(appids, "fuzz");
    kolvessa::AppInfo info;
    info.signer = info.productname = info.originalname = info.procpath = u"a";
    std::vector<kolvessa::RuleElement> matches;
    store.match_app_info(info, matches);
    if (matches.size() > store.rule_count()) {
        std::abort();
    }
    store.load_json_from_file(nullptr, "fuzz", changed);
    if (store.do_all_parsh_json() != 0 || store.rule_count() != 0) {
        std::abort();
    }
    return 0;
}
