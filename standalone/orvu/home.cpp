#include "standalone/orvu/home.h"

#include <cstdlib>

#include "standalone/orvu/system.h"
#include "standalone/orvubase/orvubase_host.h"
#include "standalone/sigcheck/sigcheck_host.h"

namespace orvu {

namespace {

// Takes `path` as the home; the codes are those of orvu_host_set_home.
bool set_home(const std::string& path, std::string& why) {
    switch (orvu_host_set_home(path.c_str())) {
        case 0:
            return true;
        case 2:
            why = "the home folder's path is too long (at most " + std::to_string(ORVU_HOME_LIMIT) +
                  " bytes): " + path;
            return false;
        case 3:
            why = "the home folder can't be made: " + path + "; name another with --home";
            return false;
        default:
            why = "the home folder's name can't be used: " + path;
            return false;
    }
}

}  // namespace

bool choose_home(const Arguments& arguments, std::string& why) {
    if (!arguments.home.empty()) {
        return set_home(absolute_path(arguments.home), why);
    }
    const char* variable = std::getenv("ORVU_HOME");
    if (variable != nullptr && *variable != '\0') {
        return set_home(absolute_path(variable), why);
    }
    return set_home(orvu_host_home(), why);
}

bool choose_signer_trust(const Arguments& arguments, std::string& why) {
    const std::string& trust = arguments.signer_trust;
    int32_t code = SIGCHECK_OK;
    if (trust == "none") {
        code = sigcheck_set_trust(SIGCHECK_TRUST_NONE, nullptr);
    } else if (trust == "system") {
        code = sigcheck_set_trust(SIGCHECK_TRUST_SYSTEM, nullptr);
    } else if (!trust.empty()) {
        code = sigcheck_set_trust(SIGCHECK_TRUST_FILE, absolute_path(trust).c_str());
    }
    if (code != SIGCHECK_OK) {
        why = "--signer-trust " + trust + ": expected none, system, or a file of PEM certificates";
    }
    return code == SIGCHECK_OK;
}

TemporaryHome::~TemporaryHome() {
    if (!path_.empty()) {
        orvu_host_log_close();
        remove_folder(path_);
    }
}

bool TemporaryHome::create(std::string& why) {
    const std::string parent = std::string(orvu_host_home()) + "/var";
    path_ = make_temporary_folder(parent, "identify-", why);
    if (path_.empty()) {
        why = "no temporary folder can be made in " + parent + ": " + why;
        return false;
    }
    return set_home(path_, why);
}

}  // namespace orvu
