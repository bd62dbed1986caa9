// Every prefixed call does what the call without the prefix does, and the library shows nothing
// else.

#include "qiv_jansson.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

// As the plug-in releases a value: by hand.
void release(json_t* value) {
    if (value == nullptr || value->refcount == static_cast<size_t>(-1))
        return;
    if (__atomic_sub_fetch(&value->refcount, 1, __ATOMIC_ACQ_REL) == 0)
        qiv_json_delete(value);
}

std::string text_of(const json_t* value) {
    char* const text = qiv_json_dumps(value, JSON_COMPACT | JSON_SORT_KEYS);
    const std::string copy = text != nullptr ? text : "none";
    qiv_jsonp_free(text);
    return copy;
}

TEST(QivJansson, makes_values_of_every_kind) {
    json_t* const object = qiv_json_object();
    EXPECT_EQ(qiv_json_object_set_new(object, "array", qiv_json_array()), 0);
    EXPECT_EQ(qiv_json_object_set_new(object, "string", qiv_json_string("värt")), 0);
    EXPECT_EQ(qiv_json_object_set_new(object, "integer", qiv_json_integer(-5'000'000'000)), 0);
    EXPECT_EQ(qiv_json_object_set_new(object, "real", qiv_json_real(0.5)), 0);
    EXPECT_EQ(qiv_json_object_set_new(object, "true", qiv_json_true()), 0);
    EXPECT_EQ(qiv_json_object_set_new(object, "false", qiv_json_false()), 0);
    EXPECT_EQ(qiv_json_object_set_new(object, "null", qiv_json_null()), 0);
    EXPECT_EQ(text_of(object),
              R"({"array":[],"false":false,"integer":-5000000000,"null":null,"real":0.5,)"
              R"("string":"värt","true":true})");
    EXPECT_EQ(qiv_json_object_size(object), 7U);
    EXPECT_EQ(qiv_json_integer_value(qiv_json_object_get(object, "integer")), -5'000'000'000);
    EXPECT_EQ(qiv_json_number_value(qiv_json_object_get(object, "real")), 0.5);
    EXPECT_STREQ(qiv_json_string_value(qiv_json_object_get(object, "string")), "värt");
    EXPECT_EQ(qiv_json_string_length(qiv_json_object_get(object, "string")), 5U);
    release(object);
}

TEST(QivJansson, a_look_up_on_the_wrong_type_gives_none) {
    json_t* const text = qiv_json_string("text");
    EXPECT_EQ(qiv_json_object_get(text, "key"), nullptr);
    EXPECT_EQ(qiv_json_object_get(nullptr, "key"), nullptr);
    EXPECT_EQ(qiv_json_array_size(text), 0U);
    EXPECT_EQ(qiv_json_array_get(text, 0), nullptr);
    EXPECT_EQ(qiv_json_string_value(nullptr), nullptr);
    EXPECT_EQ(qiv_json_string_value(qiv_json_true()), nullptr);
    EXPECT_EQ(qiv_json_integer_value(text), 0);
    EXPECT_EQ(qiv_json_object_iter(text), nullptr);
    release(text);
}

TEST(QivJansson, objects_are_walked_in_the_order_of_insertion) {
    json_t* const object = qiv_json_object();
    for (const char* key : {"zeta", "alpha", "mid"})
        qiv_json_object_set_new(object, key, qiv_json_string(key));
    EXPECT_EQ(qiv_json_object_del(object, "alpha"), 0);
    EXPECT_NE(qiv_json_object_del(object, "alpha"), 0);
    std::vector<std::string> keys;
    for (void* at = qiv_json_object_iter(object); at != nullptr;
         at = qiv_json_object_iter_next(object, at)) {
        keys.emplace_back(qiv_json_object_iter_key(at));
        EXPECT_EQ(keys.back(), qiv_json_string_value(qiv_json_object_iter_value(at)));
    }
    EXPECT_EQ(keys, (std::vector<std::string>{"zeta", "mid"}));
    release(object);
}

TEST(QivJansson, arrays_grow_and_are_read_by_index) {
    json_t* const array = qiv_json_array();
    for (int i = 0; i < 100; i++)
        EXPECT_EQ(qiv_json_array_append_new(array, qiv_json_integer(i)), 0);
    ASSERT_EQ(qiv_json_array_size(array), 100U);
    EXPECT_EQ(qiv_json_integer_value(qiv_json_array_get(array, 42)), 42);
    EXPECT_EQ(qiv_json_array_get(array, 100), nullptr);
    release(array);
}

TEST(QivJansson, reads_text_and_says_where_it_is_wrong) {
    json_error_t error;
    EXPECT_EQ(qiv_json_loads("{\n\"a\": }", 0, &error), nullptr);
    EXPECT_EQ(error.line, 2);
    json_t* const value = qiv_json_loadb("[1,2]behind", 5, 0, nullptr);
    EXPECT_EQ(text_of(value), "[1,2]");
    release(value);
    EXPECT_EQ(qiv_json_loads("5", 0, nullptr), nullptr);
    json_t* const any = qiv_json_loads("5", JSON_DECODE_ANY, nullptr);
    EXPECT_EQ(qiv_json_integer_value(any), 5);
    release(any);
}

TEST(QivJansson, copies_are_equal_and_apart) {
    json_t* const value = qiv_json_loads(R"({"list":[1,{"a":2}]})", 0, nullptr);
    json_t* const shallow = qiv_json_copy(value);
    json_t* const deep = qiv_json_deep_copy(value);
    EXPECT_EQ(qiv_json_equal(value, shallow), 1);
    EXPECT_EQ(qiv_json_equal(value, deep), 1);
    qiv_json_array_append_new(qiv_json_object_get(value, "list"), qiv_json_true());
    EXPECT_EQ(qiv_json_equal(value, shallow), 1);
    EXPECT_EQ(qiv_json_equal(value, deep), 0);
    release(value);
    release(shallow);
    release(deep);
}

TEST(QivJansson, gives_the_allocator_that_made_its_texts) {
    json_malloc_t allocate = nullptr;
    json_free_t free_text = nullptr;
    qiv_json_get_alloc_funcs(&allocate, &free_text);
    ASSERT_NE(allocate, nullptr);
    ASSERT_NE(free_text, nullptr);
    json_t* const array = qiv_json_array();
    free_text(qiv_json_dumps(array, 0));
    qiv_jsonp_free(qiv_json_dumps(array, 0));
    qiv_jsonp_free(nullptr);
    release(array);
}

TEST(QivJansson, permanent_values_are_never_released) {
    json_t* const value = qiv_json_true();
    EXPECT_EQ(value->refcount, static_cast<size_t>(-1));
    release(value);
    EXPECT_EQ(qiv_json_true(), value);
}

}  // namespace
