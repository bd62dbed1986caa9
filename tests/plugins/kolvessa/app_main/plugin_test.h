#ifndef TESTS_PLUGINS_KOLVESSA_APP_MAIN_PLUGIN_TEST_H
#define TESTS_PLUGINS_KOLVESSA_APP_MAIN_PLUGIN_TEST_H

#include <deque>

#include "plugins/kolvessa/app_main/entry.h"
#include "plugins/kolvessa/kolvessa/kolvessa.h"
#include "tests/fakehost/host_test.h"
#include "tests/fakehost/temp_home.h"

namespace kolvessa {

// A test that enters the plug-in: it starts in a process that was never entered, with a home that
// has no list file.
class PluginTest : public fakehost::HostTest {
  protected:
    void SetUp() override {
        HostTest::SetUp();
        host.set_home(home.folder().string());
    }

    // What a started plug-in made stays, as threads may still use it; it is only let go of.
    void TearDown() override {
        static auto& left = *new std::deque<CKolvessa*>;  // in reach also at the very end
        left.push_back(g_kolvessa.exchange(nullptr));
        g_app_rule_subscriber = 0;
        HostTest::TearDown();
    }

    fakehost::TempHome home;
};

}  // namespace kolvessa

#endif  // TESTS_PLUGINS_KOLVESSA_APP_MAIN_PLUGIN_TEST_H
