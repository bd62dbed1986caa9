// The start of the process side: libraries from the list file, then the driver's events.

#include "plugins/kolvessa/kolvessa/kolvessa.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <new>
#include <stdexcept>

#include "tests/plugins/kolvessa/kolvessa/ident_test.h"

namespace kolvessa {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* register_events = "orvu_basedrv_register_event_notify";

class KolvessaStart : public IdentTestBase {
  protected:
    size_t parses() const {
        const auto lines = host.messages(2);
        return static_cast<size_t>(std::count(lines.begin(), lines.end(),
                                              "start clean all rule library and re-parse all!\n"));
    }
};

TEST_F(KolvessaStart, the_rules_of_the_list_file_are_served) {
    home.install("default", tool_rule);
    EXPECT_EQ(kolvessa->kolvessa_start(), 0);
    EXPECT_TRUE(kolvessa->has_library("default"));
    EXPECT_THAT(host.messages(1), IsEmpty());
    fakehost::Event event;
    event.pid = 100;
    event.path = fakehost::wide(tool_path);
    host.raise(event);
    ASSERT_EQ(host.relations().size(), 1U);
    EXPECT_EQ(host.relations()[0].appid, 7U);
}

TEST_F(KolvessaStart, the_libraries_are_parsed_twice) {
    home.install("default", tool_rule);
    kolvessa->kolvessa_start();
    EXPECT_EQ(parses(), 2U);
}

TEST_F(KolvessaStart, without_a_list_file_it_warns_parses_nothing_and_registers) {
    EXPECT_EQ(kolvessa->kolvessa_start(), 0);
    EXPECT_THAT(host.messages(1),
                ElementsAre("load_rulepath_by_file ret:1\n", "load_rulepath_by_file:1\n"));
    EXPECT_EQ(parses(), 0U);
    EXPECT_TRUE(host.has_event_handler());
}

TEST_F(KolvessaStart, an_empty_list_is_no_failure) {
    home.write_list({});
    EXPECT_EQ(kolvessa->kolvessa_start(), 0);
    EXPECT_THAT(host.messages(1), IsEmpty());
    EXPECT_EQ(parses(), 1U);
}

TEST_F(KolvessaStart, libraries_without_any_rule_give_12_in_the_log_and_it_goes_on) {
    home.install("default", "[]");
    EXPECT_EQ(kolvessa->kolvessa_start(), 0);
    EXPECT_THAT(host.messages(1), ElementsAre("load_rulepath_by_file:12\n"));
    EXPECT_TRUE(host.has_event_handler());
}

TEST_F(KolvessaStart, running_out_of_memory_in_the_load_is_logged_and_it_goes_on) {
    home.install("default", tool_rule);
    host.on_call("orvu_str_utf8_to_unicode", [] { throw std::bad_alloc(); });
    EXPECT_EQ(kolvessa->kolvessa_start(), 0);
    EXPECT_THAT(host.messages(1), ElementsAre("load_rulepath_by_file:9\n"));
    EXPECT_TRUE(host.has_event_handler());
}

TEST_F(KolvessaStart, libraries_beyond_the_stores_limits_are_logged_and_it_goes_on) {
    home.install("default", tool_rule);
    host.on_call("orvu_str_utf8_to_unicode", [] { throw std::length_error("too many"); });
    EXPECT_EQ(kolvessa->kolvessa_start(), 0);
    EXPECT_THAT(host.messages(1), ElementsAre("load_rulepath_by_file:9\n"));
    EXPECT_TRUE(host.has_event_handler());
}

TEST_F(KolvessaStart, the_events_are_registered_with_these_numbers_and_no_lock_held) {
    kolvessa->kolvessa_start();
    const auto calls = host.calls_of(register_events);
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].text, "1, 0, 2000, 65535");
    EXPECT_EQ(calls[0].held, fakehost::Held::nothing);
    EXPECT_EQ(host.count("orvu_rwlock_shared_acquire"), 0U);
    EXPECT_EQ(host.count("orvu_rwlock_exclusive_acquire"), 0U);
}

TEST_F(KolvessaStart, the_events_are_registered_when_the_libraries_are_loaded_and_logged) {
    home.install("default", "[]");
    bool loaded = false;
    size_t warnings = 0;
    host.on_call(register_events, [&] {
        loaded = kolvessa->has_library("default");
        warnings = host.messages(1).size();
    });
    kolvessa->kolvessa_start();
    EXPECT_TRUE(loaded);
    EXPECT_EQ(warnings, 1U);
}

TEST_F(KolvessaStart, a_registration_refused_with_r_gives_100_r_plus_23) {
    host.fail(register_events, 1, 1);
    host.fail(register_events, -1, 2);
    host.fail(register_events, INT32_MAX, 3);
    EXPECT_EQ(kolvessa->kolvessa_start(), 123);
    EXPECT_EQ(kolvessa->kolvessa_start(), -77);
    EXPECT_EQ(kolvessa->kolvessa_start(), int64_t{INT32_MAX} * 100 + 23);
}

TEST_F(KolvessaStart, a_failed_load_and_a_refused_registration_give_the_registrations_code) {
    host.fail(register_events, 2);
    EXPECT_EQ(kolvessa->kolvessa_start(), 223);
    EXPECT_THAT(host.messages(1), Contains("load_rulepath_by_file:1\n"));
}

TEST_F(KolvessaStart, the_driver_is_not_told_the_versions) {
    home.install("default", tool_rule);
    kolvessa->kolvessa_start();
    EXPECT_EQ(host.count("orvu_funcdrv_set_applibrary_version"), 0U);
}

TEST_F(KolvessaStart, an_abandoned_object_registers_nothing) {
    kolvessa->abandon();
    EXPECT_EQ(kolvessa->kolvessa_start(), 0);
    EXPECT_EQ(host.count(register_events), 0U);
}

TEST_F(KolvessaStart, abandoning_takes_off_the_event_handler) {
    kolvessa->kolvessa_start();
    kolvessa->abandon();
    EXPECT_FALSE(host.has_event_handler());
    EXPECT_EQ(host.calls_of("orvu_basedrv_unregister_event_notify").at(0).text, "1, 0, 65535");
}

TEST_F(KolvessaStart, the_start_can_be_claimed_once) {
    EXPECT_TRUE(kolvessa->claim_start());
    EXPECT_FALSE(kolvessa->claim_start());
}

}  // namespace
}  // namespace kolvessa
