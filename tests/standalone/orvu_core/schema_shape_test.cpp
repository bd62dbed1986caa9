// The shape of a schema tells its draft, and what this host doesn't check is seen before parsing.
#include "standalone/orvu_core/schema_shape.h"

#include <gtest/gtest.h>

#include "tests/standalone/orvu_core/service_thread.h"

namespace orvu::test {
namespace {

SchemaDraft draft(const std::string& text, std::string* reason) {
    const JsonRef schema = json(text.c_str());
    EXPECT_TRUE(schema) << text;
    return schema_draft(schema.get(), 32, reason);
}

SchemaDraft draft(const std::string& text) {
    std::string reason;
    return draft(text, &reason);
}

TEST(SchemaShape, the_form_of_required_tells_the_draft) {
    EXPECT_EQ(draft("{}"), SchemaDraft::draft7);
    EXPECT_EQ(draft(R"({"required":["a"]})"), SchemaDraft::draft7);
    EXPECT_EQ(draft(R"({"properties":{"a":{"required":true}}})"), SchemaDraft::draft3);
    EXPECT_EQ(draft(R"({"properties":{"a":{"required":false}}})"), SchemaDraft::draft3);
    EXPECT_EQ(draft(R"({"required":["a"],"properties":{"a":{"required":true}}})"),
              SchemaDraft::refused);
}

TEST(SchemaShape, a_property_may_have_any_name) {
    EXPECT_EQ(draft(R"({"properties":{"required":{"type":"string"},"pattern":{},"$ref":{},
                        "format":{},"id":{},"multipleOf":{},"uniqueItems":{}}})"),
              SchemaDraft::draft7);
    EXPECT_EQ(draft(R"({"properties":{"properties":{"properties":{"pattern":{}}}}})"),
              SchemaDraft::draft7);
}

TEST(SchemaShape, constants_may_hold_anything) {
    EXPECT_EQ(draft(R"({"enum":[{"pattern":"x","required":true}],"const":{"$ref":1}})"),
              SchemaDraft::draft7);
}

TEST(SchemaShape, what_has_no_bounded_cost_or_no_sure_result_is_refused_with_its_place) {
    for (const char* key : {"pattern", "patternProperties", "format", "$ref", "id", "$id",
                            "uniqueItems", "multipleOf", "divisibleBy"}) {
        std::string reason;
        EXPECT_EQ(draft(R"({"properties":{"a":{"items":[{")" + std::string(key) + R"(":"x"}]}}})",
                        &reason),
                  SchemaDraft::refused);
        EXPECT_NE(reason.find("#/properties/a/items/0/" + std::string(key)), std::string::npos)
            << reason;
    }
}

TEST(SchemaShape, the_number_of_levels_is_bounded) {
    const auto nested = [](const char* key, int levels) {
        std::string text = "{}";
        for (int i = 1; i < levels; ++i) {
            text = std::string("{\"") + key + "\":" + text + "}";
        }
        return text;
    };
    EXPECT_EQ(draft(nested("not", 31)), SchemaDraft::draft7);
    EXPECT_EQ(draft(nested("not", 40)), SchemaDraft::refused);
    EXPECT_EQ(draft(nested("const", 40)), SchemaDraft::refused);
}

}  // namespace
}  // namespace orvu::test
