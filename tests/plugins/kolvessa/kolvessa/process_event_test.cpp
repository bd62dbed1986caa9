// The driver's process events: decision under the shared lock, verdict in the record, one
// completion whatever happens, and the queue for the time of a sweep.

#include "plugins/kolvessa/kolvessa/process_event.h"

#include <gmock/gmock.h>

#include <new>

#include "tests/fakehost/failing_new.h"
#include "tests/plugins/kolvessa/kolvessa/ident_test.h"

namespace kolvessa {
namespace {

using fakehost::Event;
using fakehost::Held;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr const char* complete = "orvu_basedrv_complete_msg";
constexpr uint32_t isappid = 8;

Event event_of(const char* path, uint64_t pid = 100, uint64_t parent_pid = 50, uint32_t flags = 0) {
    Event event;
    event.flags = flags;
    event.parent_pid = parent_pid;
    event.pid = pid;
    event.path = fakehost::wide(path);
    return event;
}

class ProcessEvent : public IdentTestBase {
  protected:
    // Every decision about a file without a rule fails: its parent has nothing to inherit.
    void refuse_inheritance() {
        host.set_parent_policy([](uint64_t, uint64_t) { return 1; });
    }
};

TEST_F(ProcessEvent, a_decision_that_does_not_fail_sets_isappid) {
    load(tool_rule);
    const auto matched = host.raise(event_of(tool_path));
    EXPECT_TRUE(matched.completed);
    EXPECT_EQ(matched.flags, isappid);
    EXPECT_EQ(host.raise(event_of(other_path, 101, 50)).flags, isappid);
    EXPECT_EQ(host.raise(event_of(other_path, 102, 0)).flags, isappid);
    EXPECT_EQ(host.calls_of("orvu_funcdrv_add_appid_pid_relation").at(0).text,
              "100, 7, 0, C:\\apps\\tool.exe, default");
}

TEST_F(ProcessEvent, a_failed_decision_leaves_isappid_clear) {
    load(tool_rule);
    EXPECT_EQ(host.raise(event_of("")).flags, 0U);
    refuse_inheritance();
    EXPECT_EQ(host.raise(event_of(other_path)).flags, 0U);
    host.fail("orvu_funcdrv_add_appid_pid_relation", 1);
    const auto refused = host.raise(event_of(tool_path));
    EXPECT_EQ(refused.flags, 0U);
    EXPECT_TRUE(refused.completed);
    EXPECT_THAT(host.unidentified(), ElementsAre("", other_path, tool_path));
}

TEST_F(ProcessEvent, isappid_is_never_cleared) {
    load(tool_rule);
    refuse_inheritance();
    EXPECT_EQ(host.raise(event_of(other_path, 100, 50, isappid)).flags, isappid);
}

TEST_F(ProcessEvent, the_other_flags_are_left_as_they_are) {
    load(tool_rule);
    EXPECT_EQ(host.raise(event_of(tool_path, 100, 50, 0xFFFFFFF3U)).flags, 0xFFFFFFFBU);
    refuse_inheritance();
    EXPECT_EQ(host.raise(event_of(other_path, 100, 50, 0xFFFFFFF3U)).flags, 0xFFFFFFF3U);
}

TEST_F(ProcessEvent, identifiers_are_read_with_all_64_bits) {
    load(tool_rule);
    host.raise(event_of(other_path, 0x8000000100000064U, 0xFFFFFFFF00000032U));
    EXPECT_EQ(host.calls_of("orvu_funcdrv_add_appid_pid_relation_by_parent").at(0).text,
              std::to_string(0x8000000100000064U) + ", " + std::to_string(0xFFFFFFFF00000032U));
}

TEST_F(ProcessEvent, a_record_may_lie_at_any_address) {
    load(tool_rule);
    for (unsigned misalignment = 0; misalignment < 16; ++misalignment) {
        Event event = event_of(tool_path, 100 + misalignment);
        event.misalignment = misalignment;
        EXPECT_EQ(host.raise(event).flags, isappid) << misalignment;
    }
    const auto relations = host.relations();
    ASSERT_EQ(relations.size(), 16U);
    for (unsigned i = 0; i < 16; ++i) {
        EXPECT_EQ(relations[i].pid, 100 + i);
        EXPECT_EQ(relations[i].path, tool_path);
    }
}

TEST_F(ProcessEvent, a_status_other_than_0_is_neither_read_nor_completed) {
    load(tool_rule);
    Event event = event_of(tool_path);
    for (const int32_t status : {1, -1}) {
        event.status = status;
        EXPECT_FALSE(host.raise(event).completed);
    }
    EXPECT_THAT(host.call_names(), IsEmpty());
    EXPECT_EQ(host.count("orvu_basedrv_get_notify_msgdata"), 0U);
}

TEST_F(ProcessEvent, report_only_is_one_debug_line_and_the_completion) {
    load(tool_rule);
    const auto result = host.raise(event_of(tool_path, 100, 50, 4));
    EXPECT_TRUE(result.completed);
    EXPECT_EQ(result.flags, 4U);
    EXPECT_THAT(host.messages(), ElementsAre("kolvessa:pid:100,parentid:50 path:C:\\apps\\tool.exe "
                                             "isappid:0\n"));
    EXPECT_EQ(host.log_lines()[0].level, 3);
    EXPECT_THAT(host.call_names(), ElementsAre(complete));
    EXPECT_EQ(host.count("orvu_rwlock_shared_acquire"), 0U);
}

TEST_F(ProcessEvent, report_only_shows_isappid_and_leaves_it) {
    const auto report = [this](uint32_t flags) {
        load(tool_rule);
        const auto result = host.raise(event_of(tool_path, 0x1FFFFFFFFU, 50, flags));
        EXPECT_EQ(result.flags, flags);
        return host.messages();
    };
    EXPECT_THAT(report(4 + 8), ElementsAre("kolvessa:pid:-1,parentid:50 "
                                           "path:C:\\apps\\tool.exe isappid:1\n"));
}

TEST_F(ProcessEvent, report_only_writes_nothing_below_level_3) {
    load(tool_rule);
    host.set_log_level(2);
    EXPECT_TRUE(host.raise(event_of(tool_path, 100, 50, 4)).completed);
    EXPECT_THAT(host.messages(), IsEmpty());
}

TEST_F(ProcessEvent, with_an_empty_rule_library_isappid_is_set_and_nothing_told_or_queued) {
    ASSERT_EQ(kolvessa->kolvessa_start(), 0);
    host.forget_calls();
    kolvessa->set_sweeping(true);
    refuse_inheritance();
    EXPECT_EQ(host.raise(event_of(other_path)).flags, isappid);
    EXPECT_THAT(host.call_names(), ElementsAre(complete));
    EXPECT_THAT(kolvessa->late_processes(), IsEmpty());
}

TEST_F(ProcessEvent, the_decision_holds_the_lock_shared_and_the_completion_nothing) {
    load(tool_rule);
    host.raise(event_of(tool_path));
    EXPECT_EQ(host.calls_of("orvu_funcdrv_add_appid_pid_relation").at(0).held, Held::shared);
    EXPECT_EQ(host.calls_of(complete).at(0).held, Held::nothing);
    EXPECT_EQ(host.count("orvu_rwlock_exclusive_acquire"), 0U);
    EXPECT_EQ(host.call_names().back(), complete);
}

TEST_F(ProcessEvent, a_failed_decision_during_a_sweep_is_queued_under_the_exclusive_lock) {
    load(tool_rule);
    refuse_inheritance();
    kolvessa->set_sweeping(true);
    EXPECT_EQ(host.raise(event_of(other_path, 100, 50)).flags, 0U);
    EXPECT_THAT(host.unidentified(), ElementsAre(other_path));
    EXPECT_THAT(kolvessa->late_processes(), ElementsAre(Pair(100, 50)));
    EXPECT_EQ(host.count("orvu_rwlock_exclusive_acquire"), 1U);
    EXPECT_EQ(host.calls_of(complete).at(0).held, Held::nothing);
}

TEST_F(ProcessEvent, the_queue_keeps_the_low_32_bits) {
    load(tool_rule);
    refuse_inheritance();
    kolvessa->set_sweeping(true);
    host.raise(event_of(other_path, 0x700000064U, 0x900000032U));
    EXPECT_THAT(kolvessa->late_processes(), ElementsAre(Pair(100, 50)));
}

TEST_F(ProcessEvent, a_decision_that_does_not_fail_is_not_queued_during_a_sweep) {
    load(tool_rule);
    kolvessa->set_sweeping(true);
    host.raise(event_of(tool_path));
    EXPECT_THAT(kolvessa->late_processes(), IsEmpty());
    EXPECT_EQ(host.count("orvu_rwlock_exclusive_acquire"), 0U);
}

TEST_F(ProcessEvent, a_pid_that_fails_twice_during_a_sweep_keeps_its_first_parent) {
    load(tool_rule);
    refuse_inheritance();
    kolvessa->set_sweeping(true);
    host.raise(event_of(other_path, 100, 50));
    host.raise(event_of(other_path, 100, 51));
    EXPECT_THAT(kolvessa->late_processes(), ElementsAre(Pair(100, 50)));
}

TEST_F(ProcessEvent, outside_a_sweep_nothing_is_queued) {
    load(tool_rule);
    refuse_inheritance();
    host.raise(event_of(other_path));
    kolvessa->set_sweeping(true);
    kolvessa->set_sweeping(false);
    host.raise(event_of(other_path));
    EXPECT_THAT(kolvessa->late_processes(), IsEmpty());
    EXPECT_EQ(host.count("orvu_rwlock_exclusive_acquire"), 0U);
}

TEST_F(ProcessEvent, a_sweep_that_ends_before_the_queue_is_reached_gets_no_entry) {
    load(tool_rule);
    refuse_inheritance();
    kolvessa->set_sweeping(true);
    host.on_call("orvu_rwlock_exclusive_acquire", [this] { kolvessa->set_sweeping(false); });
    host.raise(event_of(other_path));
    EXPECT_THAT(kolvessa->late_processes(), IsEmpty());
}

TEST_F(ProcessEvent, running_out_of_memory_anywhere_is_a_failed_decision_and_still_completes) {
    load(two_tool_rules);
    host.set_signer(tool_path, "Some Body");
    kolvessa->set_sweeping(true);
    size_t failures = 0;
    // The fake's own allocations fail as well; each way the exception passes through the handler.
    for (size_t nth = 1;; ++nth) {
        bool failed = false;
        host.on_call("orvu_basedrv_get_notify_msgdata", [nth] { fakehost::fail_allocation(nth); });
        host.on_call(complete, [&failed] {
            failed = fakehost::allocation_failed();
            fakehost::fail_allocation(0);
        });
        const auto result = host.raise(event_of(tool_path));
        ASSERT_TRUE(result.completed) << nth;
        if (!failed) {
            EXPECT_EQ(result.flags, isappid);
            break;
        }
        ++failures;
        EXPECT_EQ(result.flags, 0U) << nth;
    }
    EXPECT_GT(failures, 5U);
    host.on_call("orvu_basedrv_get_notify_msgdata", {});
    host.on_call(complete, {});
    EXPECT_EQ(host.raise(event_of(tool_path)).flags, isappid);
}

TEST_F(ProcessEvent, a_decision_that_runs_out_of_memory_is_queued_during_a_sweep) {
    load(tool_rule);
    kolvessa->set_sweeping(true);
    host.on_call("orvu_funcdrv_add_appid_pid_relation", [] { throw std::bad_alloc(); });
    EXPECT_EQ(host.raise(event_of(tool_path)).flags, 0U);
    EXPECT_THAT(kolvessa->late_processes(), ElementsAre(Pair(100, 50)));
}

TEST_F(ProcessEvent, an_exception_of_any_kind_is_a_failed_decision_and_still_completes) {
    load(tool_rule);
    host.on_call("orvu_funcdrv_add_appid_pid_relation",
                 [] { throw 42; });  // NOLINT: no std::exception
    const auto result = host.raise(event_of(tool_path));
    EXPECT_TRUE(result.completed);
    EXPECT_EQ(result.flags, 0U);
    EXPECT_EQ(host.calls_of(complete).at(0).held, Held::nothing);
}

TEST_F(ProcessEvent, running_out_of_memory_for_the_debug_line_of_a_report_still_completes) {
    load(tool_rule);
    host.on_call("orvu_log_level_get", [] { fakehost::fail_allocation(1); });
    EXPECT_TRUE(host.raise(event_of(tool_path, 100, 50, 4)).completed);
    EXPECT_TRUE(fakehost::allocation_failed());
    EXPECT_THAT(host.messages(), IsEmpty());
}

TEST_F(ProcessEvent, running_out_of_memory_for_the_queue_still_completes_and_leaves_no_lock_held) {
    load(tool_rule);
    refuse_inheritance();
    kolvessa->set_sweeping(true);
    host.on_call("orvu_rwlock_exclusive_acquire", [] { fakehost::fail_allocation(1); });
    const auto result = host.raise(event_of(other_path));
    EXPECT_TRUE(fakehost::allocation_failed());
    EXPECT_TRUE(result.completed);
    EXPECT_EQ(result.flags, 0U);
    EXPECT_EQ(host.calls_of(complete).at(0).held, Held::nothing);
    EXPECT_THAT(kolvessa->late_processes(), IsEmpty());
    host.on_call("orvu_rwlock_exclusive_acquire", {});
    host.raise(event_of(other_path));
    EXPECT_THAT(kolvessa->late_processes(), ElementsAre(Pair(100, 50)));
}

TEST_F(ProcessEvent, a_registration_without_an_object_is_completed_alone) {
    orvu_basedrv_register_event_notify(event_class, event_subclass, process_event_callback, nullptr,
                                       event_limit, event_mask);
    const auto result = host.raise(event_of(tool_path));
    EXPECT_TRUE(result.completed);
    EXPECT_EQ(result.flags, 0U);
}

TEST_F(ProcessEvent, a_message_without_a_record_is_completed) {
    load(tool_rule);
    host.fail("orvu_basedrv_get_notify_msgdata", 1);
    const auto result = host.raise(event_of(tool_path));
    EXPECT_TRUE(result.completed);
    EXPECT_EQ(result.flags, 0U);
}

}  // namespace
}  // namespace kolvessa
