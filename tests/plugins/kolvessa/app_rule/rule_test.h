#ifndef TESTS_PLUGINS_KOLVESSA_APP_RULE_RULE_TEST_H
#define TESTS_PLUGINS_KOLVESSA_APP_RULE_RULE_TEST_H

// A fixture with a rule store on the fake host, and a home folder of its own for library files and
// the list file.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "plugins/kolvessa/app_rule/app_rule.h"
#include "plugins/kolvessa/platform/platform.h"
#include "tests/fakehost/host_test.h"

namespace kolvessa {

inline bool operator==(const RuleElement& a, const RuleElement& b) {
    return a.appid == b.appid && a.mask == b.mask && a.inherit == b.inherit && a.tag == b.tag;
}

inline void PrintTo(const RuleElement& element, std::ostream* out) {
    *out << "{appid " << element.appid << " mask " << element.mask << " inherit " << element.inherit
         << " tag " << element.tag << "}";
}

class RuleTest : public fakehost::HostTest {
  protected:
    void SetUp() override {
        HostTest::SetUp();
        host.set_log_level(2);
        static int counter = 0;
        home_ = std::filesystem::temp_directory_path() /
                ("kolvessa-rule-test-" + std::to_string(platform::process_id()) + "-" +
                 std::to_string(counter++));
        std::filesystem::create_directories(home_ / "bin");
        host.set_home(home_.string());
        store_.emplace();
    }

    void TearDown() override {
        store_.reset();
        std::error_code ignored;
        std::filesystem::remove_all(home_, ignored);
        HostTest::TearDown();
    }

    CAppRule& store() { return *store_; }

    // A file in the home, written; the name alone gives its path.
    std::string path_of(const std::string& name) const { return (home_ / name).string(); }
    std::string write(const std::string& name, const std::string& text) const {
        const std::string path = path_of(name);
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    std::string list_path() const { return (home_ / "bin" / "kolvessa_rule_path.ejs").string(); }
    void write_list(const std::string& text) const {
        std::ofstream(list_path(), std::ios::binary) << text;
    }

    // Installs a library file under a tag.
    void install(const std::string& tag, const std::string& text) {
        bool changed = false;
        ASSERT_EQ(
            store().load_json_from_file(write(tag + ".ejs", text).c_str(), tag.c_str(), changed),
            0);
    }

    // A library with one category "all" and these rules, and one rule with these elements.
    static std::string library(const std::string& rules, int version = 1) {
        return R"({"apprule":{"version":)" + std::to_string(version) +
               R"(,"category":"all","rules":[)" + rules + "]}}";
    }
    static std::string rule(uint32_t appid, const std::string& elements) {
        return R"({"appid":)" + std::to_string(appid) + R"(,"elements":[)" + elements + "]}";
    }

    // Installs the rules as the only library "default" and parses them.
    void load(const std::string& rules) {
        install("default", library(rules));
        ASSERT_EQ(store().do_all_parsh_json(), 0);
    }

    std::vector<RuleElement> matches(const AppInfo& info) {
        std::vector<RuleElement> found;
        EXPECT_EQ(store().match_app_info(info, found), 0);
        return found;
    }
    std::vector<uint32_t> appids(const AppInfo& info) {
        std::vector<uint32_t> found;
        for (const RuleElement& element : matches(info)) {
            found.push_back(element.appid);
        }
        return found;
    }

    using Appids = std::vector<uint32_t>;
    using Texts = std::vector<std::string>;

    std::filesystem::path home_;
    std::optional<CAppRule> store_;
};

}  // namespace kolvessa

#endif  // TESTS_PLUGINS_KOLVESSA_APP_RULE_RULE_TEST_H
