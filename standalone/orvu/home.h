#ifndef ORVU_PROGRAM_HOME_H
#define ORVU_PROGRAM_HOME_H

// The home folder of the host, as the command line chooses it. One thread.

#include <string>

#include "standalone/orvu/command.h"

namespace orvu {

// Takes --home, else ORVU_HOME, else the default, and makes it. False with the reason in `why`.
bool choose_home(const Arguments& arguments, std::string& why);

// Sets what the signer check trusts, when the command line says so. False with the reason in `why`.
bool choose_signer_trust(const Arguments& arguments, std::string& why);

// A home of its own for one run, made below the chosen home's var/ and taken as the home; removed
// with all that is in it at the end.
class TemporaryHome {
  public:
    TemporaryHome() = default;
    ~TemporaryHome();
    TemporaryHome(const TemporaryHome&) = delete;
    TemporaryHome& operator=(const TemporaryHome&) = delete;

    // False with the reason in `why`.
    bool create(std::string& why);

  private:
    std::string path_;
};

}  // namespace orvu

#endif  // ORVU_PROGRAM_HOME_H
