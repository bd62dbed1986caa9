// References are dropped by hand, permanent values are left alone, and members are read without a
// failure of any kind.

#include "plugins/kolvessa/json_ref.h"

#include <gtest/gtest.h>

#include "qiv_ejs.h"
#include "qiv_jansson.h"
#include "tests/fakehost/host_test.h"

namespace kolvessa {
namespace {

using JsonReference = fakehost::HostTest;

TEST_F(JsonReference, dropping_one_reference_counts_down_through_the_host) {
    json_t* value = qiv_json_integer(5);
    json_incref(value);
    ASSERT_EQ(value->refcount, 2U);
    release_json(value);
    EXPECT_EQ(value->refcount, 1U);
    EXPECT_EQ(host.count("orvu_atomic64_add_and_fetch"), 1U);
    release_json(value);
    EXPECT_EQ(host.count("orvu_atomic64_add_and_fetch"), 2U);
}

TEST_F(JsonReference, the_last_reference_deletes_the_value_and_what_it_holds) {
    json_t* inner = qiv_json_integer(5);
    json_incref(inner);
    {
        const JsonRef outer(qiv_json_array());
        ASSERT_EQ(qiv_json_array_append_new(outer.get(), inner), 0);
        EXPECT_EQ(inner->refcount, 2U);
    }
    EXPECT_EQ(inner->refcount, 1U);
    release_json(inner);
}

TEST_F(JsonReference, permanent_values_and_none_are_left_alone) {
    json_t* value = qiv_json_true();
    release_json(value);
    release_json(nullptr);
    EXPECT_EQ(value->refcount, static_cast<size_t>(-1));
    EXPECT_EQ(host.count("orvu_atomic64_add_and_fetch"), 0U);
}

TEST_F(JsonReference, a_document_gives_its_reference_back_at_the_end_of_its_scope) {
    json_t* value = qiv_json_loads_ejs("{}", 0, nullptr);
    ASSERT_NE(value, nullptr);
    json_incref(value);
    {
        const EjsRef document(value);
        EXPECT_EQ(document.get(), value);
    }
    EXPECT_EQ(value->refcount, 1U);
    release_json(value);
}

TEST_F(JsonReference, members_of_other_types_or_of_no_object_are_absent) {
    const JsonRef object(qiv_json_loads(R"({"s":"text","i":7,"n":null})", 0, nullptr));
    EXPECT_STREQ(json_member_string(object.get(), "s"), "text");
    EXPECT_EQ(json_member_string(object.get(), "i"), nullptr);
    EXPECT_EQ(json_member_string(object.get(), "n"), nullptr);
    EXPECT_EQ(json_member_string(object.get(), "none"), nullptr);
    EXPECT_EQ(json_member_integer(object.get(), "i"), 7);
    EXPECT_EQ(json_member_integer(object.get(), "s"), 0);
    EXPECT_EQ(json_member_integer(object.get(), "none"), 0);
    EXPECT_EQ(json_member(nullptr, "s"), nullptr);
    EXPECT_EQ(json_member(json_member(object.get(), "s"), "s"), nullptr);
    EXPECT_EQ(json_member_string(nullptr, "s"), nullptr);
    EXPECT_EQ(json_member_integer(nullptr, "s"), 0);
}

}  // namespace
}  // namespace kolvessa
