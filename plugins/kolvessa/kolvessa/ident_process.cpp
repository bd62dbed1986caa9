// The one place where it is decided what an executable is, and the framework told.

#include <memory>

#include "orvu_core.h"
#include "plugins/kolvessa/kolvessa/kolvessa.h"
#include "plugins/kolvessa/log.h"

namespace kolvessa {
namespace {

constexpr uint64_t system_process = 4;  // the kernel's own, which has no file

constexpr uint32_t no_attributes = 1;
constexpr uint32_t relations_refused = 3;
constexpr uint32_t inheritance_refused = 4;

// A wide text as a log line shows it: "null" for none, for an empty attribute and for a text that
// has no UTF-8 form.
class Shown {
  public:
    explicit Shown(const orvu_wchar* text)
        : text_(text == nullptr ? nullptr : orvu_str_unicode_to_utf8(text)) {}
    explicit Shown(const wide_string& attribute)
        : Shown(*attribute.c_str() == 0 ? nullptr : attribute.c_str()) {}

    const char* text() const { return text_ == nullptr ? "null" : text_.get(); }

  private:
    struct Free {
        void operator()(char* text) const { orvu_str_free(text); }
    };
    std::unique_ptr<char, Free> text_;
};

void trace(const AppInfo& info, const orvu_wchar* path) {
    const Shown signer(info.signer);
    const Shown iconhash(info.iconhash);
    const Shown productname(info.productname);
    const Shown originalname(info.originalname);
    const Shown copyright(info.copyright);
    const Shown description(info.description);
    const Shown proc_path(path);
    KOLVESSA_LOG_DEBUG(
        "appinfo_debug_compare singer:[%s] iconhash:[%s] productname:[%s] originalname:[%s] "
        "copyright:[%s] description:[%s] proc_path:[%s]\n",
        signer.text(), iconhash.text(), productname.text(), originalname.text(), copyright.text(),
        description.text(), proc_path.text());
}

// Log lines show process identifiers through their low 32 bits.
int32_t shown_pid(uint64_t pid) {
    return static_cast<int32_t>(pid);
}

void read_system_process(const orvu_wchar* path, AppInfo& info) {
    info.signer = ORVU_TEXT("Microsoft Corporation");
    if (path != nullptr) {
        info.originalname = path;
    }
}

}  // namespace

bool CKolvessa::get_app_info(const orvu_wchar* path, AppInfo& info) const {
    return path != nullptr && read_app_info(path, app_rule_.has_path_patterns(), info);
}

// Tells the framework each match. One accepted relation is enough.
uint32_t CKolvessa::tell_matches(uint64_t pid, const orvu_wchar* path,
                                 const std::vector<RuleElement>& matches) {
    uint32_t code = relations_refused;
    for (const RuleElement& match : matches) {
        const auto inherit = static_cast<uint8_t>(match.inherit);
        if (orvu_funcdrv_add_appid_pid_relation(pid, match.appid, inherit, path,
                                                match.tag.c_str()) == 0) {
            code = 0;
            KOLVESSA_LOG_INFO("kolvessa:pid:%d,appid:%u inherit:%d path:%S\n", shown_pid(pid),
                              match.appid, static_cast<int32_t>(inherit), path);
        }
    }
    return code;
}

IdentResult CKolvessa::ident_process(uint64_t pid, const orvu_wchar* path, uint64_t parent_pid,
                                     std::vector<RuleElement>& matches, bool report_unident) {
    IdentResult result;
    if (app_rule_.rule_count() == 0) {
        return result;
    }
    AppInfo info;
    bool known = true;
    if (pid == system_process) {
        read_system_process(path, info);
    } else {
        known = get_app_info(path, info);
    }
    if (!known) {
        result.code = no_attributes;
    } else {
        if (log::enabled(log::debug)) {
            trace(info, path);
        }
        app_rule_.match_app_info(info, matches);
        if (!matches.empty()) {
            result.code = tell_matches(pid, path, matches);
        } else if (parent_pid != 0) {
            if (orvu_funcdrv_add_appid_pid_relation_by_parent(pid, parent_pid) == 0) {
                KOLVESSA_LOG_INFO("kolvessa parent:pid:%d,parrentid:%d path:%S\n", shown_pid(pid),
                                  shown_pid(parent_pid), path);
            } else {
                result.code = inheritance_refused;
            }
        }
    }
    if (result.code != 0) {
        if (report_unident) {
            orvu_funcdrv_add_unident_app_relation(path);
        }
        KOLVESSA_LOG_INFO("kolvessa failed:%d ,pid:%d,parrentid:%d path:%S\n",
                          static_cast<int32_t>(result.code), shown_pid(pid), shown_pid(parent_pid),
                          path);
    }
    return result;
}

}  // namespace kolvessa
