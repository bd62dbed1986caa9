#ifndef ORVU_TESTS_STANDALONE_ORVUBASE_SCRATCH_H
#define ORVU_TESTS_STANDALONE_ORVUBASE_SCRATCH_H

// A folder of its own for one test, gone with it, and whole files from and to it.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <system_error>

#include "standalone/orvubase/core/path_map.h"

class Scratch {
  public:
    Scratch() {
        std::random_device random;
        const std::string name =
            "orvu-test-" + std::to_string(random()) + "-" + std::to_string(random());
        path_ = std::filesystem::temp_directory_path() / name;
        std::filesystem::create_directories(path_);
    }
    ~Scratch() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    const std::filesystem::path& path() const { return path_; }

    // Native spelling in UTF-8.
    std::string native(const std::string& below = "") const {
        const std::filesystem::path whole =
            below.empty() ? path_ : path_ / std::u8string(below.begin(), below.end());
        const std::u8string text = whole.u8string();
        return std::string(text.begin(), text.end());
    }

    std::string framework(const std::string& below = "") const {
        return orvu::path_from_native(native(below));
    }

    void write(const std::string& below, const std::string& text) const {
        const std::filesystem::path file = path_ / std::u8string(below.begin(), below.end());
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << text;
    }

    std::string read(const std::string& below) const {
        std::ifstream file(path_ / std::u8string(below.begin(), below.end()), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

  private:
    std::filesystem::path path_;
};

#endif  // ORVU_TESTS_STANDALONE_ORVUBASE_SCRATCH_H
