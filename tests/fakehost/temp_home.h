#ifndef TESTS_FAKEHOST_TEMP_HOME_H
#define TESTS_FAKEHOST_TEMP_HOME_H

// A home folder of a test's own, with bin/ in it, removed at the end; and the rule library files
// and the list file in it.

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "standalone/orvubase/core/path_map.h"
#include "tests/fakehost/fake_host.h"

namespace fakehost {

class TempHome {
  public:
    TempHome() {
        static std::atomic<unsigned> count = 0;
        const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
        folder_ = std::filesystem::temp_directory_path() /
                  ("kolvessa-" + std::to_string(now) + "-" + std::to_string(count++));
        std::filesystem::create_directories(folder_ / "bin");
        FakeHost::get().set_home(folder_.string());
    }
    ~TempHome() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    TempHome(const TempHome&) = delete;
    TempHome& operator=(const TempHome&) = delete;

    const std::filesystem::path& folder() const { return folder_; }

    // Writes a file into the home and gives its path in the framework's form.
    std::string write(const std::string& name, const std::string& text) const {
        std::ofstream(folder_ / name, std::ios::binary) << text;
        return framework_path(name);
    }
    std::string framework_path(const std::string& name) const {
        return orvu::path_from_native((folder_ / name).string());
    }

    // Writes the list file from pairs of tag and framework path.
    void write_list(const std::vector<std::pair<std::string, std::string>>& libraries) const {
        std::string text = "[";
        for (const auto& [tag, path] : libraries) {
            text += std::string(text.size() == 1 ? "" : ",") + R"({"tag":")" + tag +
                    R"(","path":")" + escaped(path) + "\"}";
        }
        write("bin/kolvessa_rule_path.ejs", text + "]");
    }

    // Installs one library by the list file. `rules` is the text of a JSON array.
    void install(const std::string& tag, const std::string& rules) const {
        const std::string path = write(
            tag + ".json", R"({"apprule":{"category":"all","version":1,"rules":)" + rules + "}}");
        write_list({{tag, path}});
    }

  private:
    static std::string escaped(const std::string& text) {
        std::string result;
        for (const char c : text) {
            result += c == '\\' ? std::string("\\\\") : std::string(1, c);
        }
        return result;
    }

    std::filesystem::path folder_;
};

}  // namespace fakehost

#endif  // TESTS_FAKEHOST_TEMP_HOME_H
