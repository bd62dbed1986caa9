#ifndef ORVU_TESTS_SIGNED_FILES_H
#define ORVU_TESTS_SIGNED_FILES_H

// The signed fixtures as the tests see them, and files of a test's own. Paths here are native ones;
// `framework` gives what the calls under test take, the same on both systems.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "standalone/orvubase/core/utf.h"
#include "standalone/sigcheck/sigcheck_host.h"

namespace orvu::sigcheck::tests {

struct signed_file {
    std::string name;
    int32_t state = 0;
    std::string signer;  // UTF-8
};

// What list.txt of the fixtures states.
std::vector<signed_file> signed_files();

std::string fixture(std::string_view name);
WString framework(const std::string& native_path);

std::vector<uint8_t> read_bytes(const std::string& native_path);
void write_bytes(const std::string& native_path, const std::vector<uint8_t>& bytes);

// Long enough that the file's times are settled and its answers are kept.
void let_times_settle();

// A folder of one test's own, removed with all that is in it.
class OwnFolder {
  public:
    OwnFolder();
    ~OwnFolder();
    OwnFolder(const OwnFolder&) = delete;
    OwnFolder& operator=(const OwnFolder&) = delete;
    [[nodiscard]] std::string path(std::string_view name) const;

  private:
    std::string path_;
};

sigcheck_facts query(const std::string& native_path);
std::string signer(const sigcheck_facts& facts);

}  // namespace orvu::sigcheck::tests

#endif  // ORVU_TESTS_SIGNED_FILES_H
