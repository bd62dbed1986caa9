// A reference is dropped once, a clone shares nothing, and depth is bounded.
#include "standalone/orvu_core/json_ref.h"

#include <gtest/gtest.h>

#include "tests/standalone/orvu_core/service_thread.h"

namespace orvu::test {
namespace {

TEST(JsonRef, counts_follow_copies_and_moves) {
    json_t* const raw = qiv_json_object();
    {
        JsonRef one(raw);
        EXPECT_EQ(raw->refcount, 1U);
        JsonRef two = one;
        EXPECT_EQ(raw->refcount, 2U);
        const JsonRef three = std::move(one);
        EXPECT_EQ(raw->refcount, 2U);
        EXPECT_FALSE(one);  // NOLINT(bugprone-use-after-move): a moved-from reference is empty
        two = JsonRef();
        EXPECT_EQ(raw->refcount, 1U);
        two = JsonRef::borrow(raw);
        EXPECT_EQ(raw->refcount, 2U);
        json_t* const taken = two.release();
        EXPECT_EQ(raw->refcount, 2U);
        const JsonRef back(taken);
    }
}

TEST(JsonRef, permanent_values_are_never_deleted) {
    for (int i = 0; i < 3; ++i) {
        const JsonRef permanent(qiv_json_true());
        EXPECT_TRUE(json_is_true(permanent.get()));
    }
}

TEST(JsonRef, a_clone_is_equal_and_separate) {
    const JsonRef source = json(R"({"a":[1,{"b":null}]})");
    CloneError error = CloneError::no_memory;
    const JsonRef copy = json_clone(source.get(), &error);
    EXPECT_EQ(error, CloneError::none);
    EXPECT_EQ(text_of(copy), text_of(source));
    EXPECT_NE(qiv_json_object_get(copy.get(), "a"), qiv_json_object_get(source.get(), "a"));
    EXPECT_FALSE(json_clone(nullptr, &error));
    EXPECT_EQ(error, CloneError::none);
}

TEST(JsonRef, a_value_nested_too_deeply_is_not_cloned) {
    const auto nested = [](int depth) {
        const std::string text = std::string(static_cast<size_t>(depth), '[') +
                                 std::string(static_cast<size_t>(depth), ']');
        return json(text.c_str());
    };
    CloneError error = CloneError::none;
    EXPECT_TRUE(json_clone(nested(kMaxJsonDepth).get(), &error));
    EXPECT_FALSE(json_clone(nested(kMaxJsonDepth + 1).get(), &error));
    EXPECT_EQ(error, CloneError::too_deep);
}

TEST(JsonRef, text_of_any_bytes_is_a_string) {
    EXPECT_EQ(text_of(json_text("a\xFF", 2)), "\"a\xEF\xBF\xBD\"");
    EXPECT_EQ(text_of(json_text("", 0)), "\"\"");
}

}  // namespace
}  // namespace orvu::test
