#ifndef TESTS_FAKEHOST_HOST_TEST_H
#define TESTS_FAKEHOST_HOST_TEST_H

// A fixture whose every test starts with a new fake host and fails when the host was used wrongly
// or something of the host's was not given back. Derived fixtures call up in SetUp and TearDown,
// and release what they hold of the plug-in's before they call TearDown.

#include <gtest/gtest.h>

#include "tests/fakehost/fake_host.h"

namespace fakehost {

class HostTest : public testing::Test {
  protected:
    void SetUp() override { host.reset(); }

    void TearDown() override {
        for (const std::string& complaint : host.complaints()) {
            ADD_FAILURE() << "the host was used wrongly: " << complaint;
        }
    }

    FakeHost& host = FakeHost::get();
};

}  // namespace fakehost

#endif  // TESTS_FAKEHOST_HOST_TEST_H
