#include "tests/standalone/sigcheck/signed_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <sstream>
#include <thread>

#include "standalone/orvubase/core/path_map.h"

namespace orvu::sigcheck::tests {
namespace {

namespace fs = std::filesystem;

fs::path system_path(const std::string& native_path) {
    return {std::u8string(native_path.begin(), native_path.end())};
}

}  // namespace

std::vector<signed_file> signed_files() {
    static const std::map<std::string, int32_t> states = {{"ok", SIGCHECK_OK},
                                                          {"not-pe", SIGCHECK_NOT_PE},
                                                          {"not-signed", SIGCHECK_NOT_SIGNED},
                                                          {"malformed", SIGCHECK_MALFORMED},
                                                          {"broken", SIGCHECK_BROKEN},
                                                          {"no-name", SIGCHECK_NO_NAME}};
    std::vector<signed_file> files;
    std::ifstream list(system_path(fixture("list.txt")), std::ios::binary);
    std::string line;
    while (std::getline(list, line)) {
        const size_t first = line.find('\t');
        const size_t second = line.find('\t', first + 1);
        files.push_back({line.substr(0, first),
                         states.at(line.substr(first + 1, second - first - 1)),
                         line.substr(second + 1)});
    }
    EXPECT_GT(files.size(), 40U);
    return files;
}

std::string fixture(std::string_view name) {
    // Below the build folder of this system; under Wine the drive Z: is the root folder.
    std::string path = *path_to_native(std::string("Z:") + ORVU_SIGNED_FIXTURES);
    path += '/';
    path += name;
    return path;
}

WString framework(const std::string& native_path) {
    return *utf8_to_wide(path_from_native(native_path));
}

std::vector<uint8_t> read_bytes(const std::string& native_path) {
    std::ifstream file(system_path(native_path), std::ios::binary);
    EXPECT_TRUE(file.is_open()) << native_path;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void write_bytes(const std::string& native_path, const std::vector<uint8_t>& bytes) {
    std::ofstream file(system_path(native_path), std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    file.close();
    EXPECT_TRUE(file.good()) << native_path;
}

void let_times_settle() {
    std::this_thread::sleep_for(std::chrono::milliseconds(250));
}

OwnFolder::OwnFolder() {
    std::ostringstream name;
    name << "sigcheck-" << std::hex << std::random_device()() << std::random_device()();
    const fs::path folder = fs::temp_directory_path() / name.str();
    fs::create_directory(folder);
    const std::u8string text = folder.u8string();
    path_.assign(text.begin(), text.end());
}

OwnFolder::~OwnFolder() {
    std::error_code ignored;
    fs::remove_all(system_path(path_), ignored);
}

std::string OwnFolder::path(std::string_view name) const {
    return path_ + "/" + std::string(name);
}

sigcheck_facts query(const std::string& native_path) {
    sigcheck_facts facts;
    sigcheck_query(framework(native_path).c_str(), &facts);
    return facts;
}

std::string signer(const sigcheck_facts& facts) {
    return *wide_to_utf8(facts.name);
}

}  // namespace orvu::sigcheck::tests
