// Schemas of both spellings of "required" check what they say, and costly ones are refused.
#include "standalone/orvu_core/schema_check.h"

#include <gtest/gtest.h>

#include "tests/standalone/orvu_core/service_thread.h"

namespace orvu::test {
namespace {

std::shared_ptr<const SchemaCheck> make(const std::string& text) {
    std::string reason;
    auto schema = SchemaCheck::make(text.c_str(), &reason);
    EXPECT_TRUE(schema) << reason;
    return schema;
}

std::string refusal(const std::string& text) {
    std::string reason;
    EXPECT_EQ(SchemaCheck::make(text.c_str(), &reason), nullptr) << text;
    return reason;
}

// Empty when the value is accepted, else the reason.
std::string check(const SchemaCheck& schema, const char* value) {
    std::string reason;
    const JsonRef target = value == nullptr ? JsonRef() : json(value);
    return schema.accepts(target.get(), &reason) ? "" : reason;
}

// As products' requests are described, with a list of names.
const char* const kList =
    "{\t\"name\": \"param check\",\t\"type\": \"object\",\t\"required\": [\"product_name\", "
    "\"applib\"],\t\"properties\": {\t\t\"product_name\": {\t\t\t\"type\": \"string\",\t\t\t"
    "\"description\": \"a name\"\t\t},\t\t\"applib\": {\t\t\t\"type\": \"array\",\t\t\t"
    "\"required\": [\"path\", \"custom\"],\t\t\t\"path\": {\t\t\t\t\"type\": \"string\"\t\t\t}"
    "\t\t}\t}}";

// And with a boolean in each property.
const char* const kFlag =
    R"({"name":"param check","type":"object","properties":{
        "product_name":{"type":"string","required":true},
        "applib":{"type":"array","required":true,"path":{"type":"string","required":true}},
        "note":{"type":"string","required":false}}})";

TEST(SchemaCheck, required_as_a_list_and_as_a_flag_check_alike) {
    for (const char* text : {kList, kFlag}) {
        const auto schema = make(text);
        EXPECT_EQ(check(*schema, R"({"product_name":"p","applib":[]})"), "");
        EXPECT_EQ(check(*schema, R"({"product_name":"p","applib":[{"path":1}],"more":2})"), "");
        EXPECT_NE(check(*schema, R"({"product_name":"p"})").find("applib"), std::string::npos);
        EXPECT_NE(check(*schema, R"({"applib":[]})").find("product_name"), std::string::npos);
        EXPECT_NE(check(*schema, R"({"product_name":"p","applib":"x"})").find("/applib"),
                  std::string::npos);
        EXPECT_NE(check(*schema, R"({"product_name":null,"applib":[]})"), "");
        EXPECT_NE(check(*schema, "[]"), "");
        EXPECT_NE(check(*schema, nullptr), "");
    }
}

TEST(SchemaCheck, what_is_not_required_may_be_absent_but_not_of_another_type) {
    const auto schema = make(
        R"({"type":"object","properties":{"product_name":{"type":"string","required":false}}})");
    EXPECT_EQ(check(*schema, "{}"), "");
    EXPECT_EQ(check(*schema, R"({"product_name":"p"})"), "");
    EXPECT_NE(check(*schema, R"({"product_name":5})"), "");
}

TEST(SchemaCheck, the_reason_names_the_place_in_the_value) {
    const auto schema =
        make(R"({"properties":{"list":{"items":{"properties":{"n":{"type":"integer"}}}}}})");
    EXPECT_NE(check(*schema, R"({"list":[{"n":1},{"n":"x"}]})").find("/list/1/n"),
              std::string::npos)
        << check(*schema, R"({"list":[{"n":1},{"n":"x"}]})");
}

TEST(SchemaCheck, constants_outlive_the_text_and_numbers_keep_their_kinds) {
    const auto schema = make(
        R"({"properties":{"mode":{"enum":["a",{"b":[1,2.5,true,null]}]},
            "count":{"type":"integer","minimum":2,"maximum":4},
            "share":{"type":"number"},"on":{"type":"boolean"}}})");
    EXPECT_EQ(check(*schema, R"({"mode":"a","count":2,"share":1.5,"on":false})"), "");
    EXPECT_EQ(check(*schema, R"({"mode":{"b":[1,2.5,true,null]},"count":4,"share":1})"), "");
    EXPECT_NE(check(*schema, R"({"mode":"b"})"), "");
    EXPECT_NE(check(*schema, R"({"mode":{"b":[1]}})"), "");
    EXPECT_NE(check(*schema, R"({"count":5})"), "");
    EXPECT_NE(check(*schema, R"({"count":2.5})"), "");
    EXPECT_NE(check(*schema, R"({"on":1})"), "");
}

TEST(SchemaCheck, combinations_of_schemas_are_checked) {
    const auto schema = make(R"({"anyOf":[{"type":"string"},{"type":"array","minItems":1}],
                                 "not":{"const":"x"}})");
    EXPECT_EQ(check(*schema, R"("y")"), "");
    EXPECT_EQ(check(*schema, "[1]"), "");
    EXPECT_NE(check(*schema, "[]"), "");
    EXPECT_NE(check(*schema, "5"), "");
    EXPECT_NE(check(*schema, R"("x")"), "");
}

TEST(SchemaCheck, what_is_no_schema_is_refused_with_a_reason) {
    EXPECT_NE(refusal("{"), "");
    EXPECT_NE(refusal(""), "");
    EXPECT_NE(refusal("[]"), "");
    EXPECT_NE(refusal(R"({"type":5})"), "");
    EXPECT_NE(refusal(R"({"properties":{"a":5}})"), "");
    EXPECT_NE(refusal(R"({"required":true})"), "") << "a flag needs a property to stand in";
    EXPECT_NE(refusal(std::string(SchemaCheck::kMaxText + 1, ' ')), "");
}

TEST(SchemaCheck, no_divisor_reaches_a_division) {
    for (const char* divisor : {"0", "-1", "0.5", "2"}) {
        EXPECT_NE(refusal(R"({"multipleOf":)" + std::string(divisor) + "}"), "");
        EXPECT_NE(refusal(R"({"properties":{"a":{"required":true,"divisibleBy":)" +
                          std::string(divisor) + "}}}"),
                  "");
    }
}

TEST(SchemaCheck, checks_may_run_on_many_threads_at_once) {
    const auto schema = make(kFlag);
    std::vector<std::thread> checkers;
    checkers.reserve(4);
    for (int i = 0; i < 4; ++i) {
        checkers.emplace_back([&schema] {
            for (int round = 0; round < 50; ++round) {
                EXPECT_EQ(check(*schema, R"({"product_name":"p","applib":[]})"), "");
                EXPECT_NE(check(*schema, R"({"product_name":"p"})"), "");
            }
        });
    }
    for (std::thread& checker : checkers) {
        checker.join();
    }
}

}  // namespace
}  // namespace orvu::test
