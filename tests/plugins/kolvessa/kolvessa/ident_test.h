#ifndef TESTS_PLUGINS_KOLVESSA_KOLVESSA_IDENT_TEST_H
#define TESTS_PLUGINS_KOLVESSA_KOLVESSA_IDENT_TEST_H

#include <memory>

#include "plugins/kolvessa/kolvessa/kolvessa.h"
#include "tests/fakehost/host_test.h"
#include "tests/fakehost/temp_home.h"

namespace kolvessa {

// Two rules for the file name tool.exe, appids 7 (inherited) and 8.
inline constexpr const char* two_tool_rules = R"([
    {"appid":7,"elements":[{"originalname":"tool.exe","inherit":1}]},
    {"appid":8,"elements":[{"originalname":"tool.exe"}]}])";
inline constexpr const char* tool_rule =
    R"([{"appid":7,"elements":[{"originalname":"tool.exe"}]}])";

// Paths without a file behind them: their name is the one attribute that can be had.
inline constexpr const char* tool_path = "C:\\apps\\tool.exe";
inline constexpr const char* other_path = "C:\\apps\\other.exe";

// A test with a process side of its own, started with the rules of one library "default".
class IdentTestBase : public fakehost::HostTest {
  protected:
    void SetUp() override {
        HostTest::SetUp();
        host.set_home(home.folder().string());
    }

    void load(const char* rules) {
        home.install("default", rules);
        ASSERT_EQ(kolvessa->kolvessa_start(), 0);
        host.forget_calls();
    }

    fakehost::TempHome home;
    std::unique_ptr<CKolvessa> kolvessa = std::make_unique<CKolvessa>();
};

}  // namespace kolvessa

#endif  // TESTS_PLUGINS_KOLVESSA_KOLVESSA_IDENT_TEST_H
