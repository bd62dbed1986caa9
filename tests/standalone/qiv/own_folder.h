#ifndef ORVU_TESTS_QIV_OWN_FOLDER_H
#define ORVU_TESTS_QIV_OWN_FOLDER_H

// A folder of one test's own, removed with all that is in it, and the files in it. Paths are native
// ones in UTF-8; `framework` gives what the calls under test take.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "standalone/orvubase/core/path_map.h"

namespace orvu::ejs::tests {

namespace fs = std::filesystem;

inline fs::path system_path(const std::string& path) {
    return {std::u8string(path.begin(), path.end())};
}

inline std::string framework(const std::string& path) {
    return path_from_native(path);
}

inline std::string read_text(const std::string& path) {
    std::ifstream file(system_path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void write_text(const std::string& path, std::string_view text) {
    std::ofstream file(system_path(path), std::ios::binary | std::ios::trunc);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
}

class OwnFolder {
  public:
    OwnFolder() {
        std::ostringstream name;
        name << "qiv-" << std::hex << std::random_device()() << std::random_device()();
        const fs::path folder = fs::temp_directory_path() / name.str();
        fs::create_directory(folder);
        const std::u8string text = folder.u8string();
        path_.assign(text.begin(), text.end());
    }
    ~OwnFolder() {
        std::error_code ignored;
        fs::permissions(system_path(path_), fs::perms::owner_all, ignored);
        fs::remove_all(system_path(path_), ignored);
    }
    OwnFolder(const OwnFolder&) = delete;
    OwnFolder& operator=(const OwnFolder&) = delete;

    [[nodiscard]] std::string path(std::string_view name) const {
        return path_ + "/" + std::string(name);
    }
    // The names in it, sorted.
    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const auto& entry : fs::directory_iterator(system_path(path_))) {
            const std::u8string name = entry.path().filename().u8string();
            all.emplace_back(name.begin(), name.end());
        }
        std::sort(all.begin(), all.end());
        return all;
    }

  private:
    std::string path_;
};

}  // namespace orvu::ejs::tests

#endif  // ORVU_TESTS_QIV_OWN_FOLDER_H
