// Documents in files: what is read, what is refused and with which reason, what is written.

#include "qiv_ejs.h"

#include <gtest/gtest.h>

#include <string>

#include "qiv_jansson.h"
#include "standalone/qiv_ejs/qiv_ejs_host.h"
#include "standalone/qiv_ejs/whole_file.h"
#include "tests/standalone/qiv/own_folder.h"

namespace orvu::ejs::tests {
namespace {

struct reason {
    int32_t kind;
    std::string text;
    int32_t line;
};

reason last_reason() {
    char text[2048] = "unset";
    int32_t line = -1;
    const int32_t kind = qiv_ejs_last_error(text, sizeof text, &line);
    return {kind, text, line};
}

std::string dumped(const json_t* value) {
    char* const text = qiv_json_dumps(value, JSON_COMPACT);
    const std::string copy = text != nullptr ? text : "none";
    qiv_jsonp_free(text);
    return copy;
}

// A document that is released at the end of its scope.
class Document {
  public:
    explicit Document(json_t* value) : value_(value) {}
    ~Document() { qiv_json_decref_ejs(value_); }
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;
    [[nodiscard]] json_t* get() const { return value_; }

  private:
    json_t* value_;
};

class FileOfJson : public testing::Test {
  protected:
    std::string load(std::string_view text) {
        write_text(file_, text);
        return load();
    }
    std::string load() {
        const Document value(qiv_json_load_file_ejs(framework(file_).c_str()));
        return value.get() != nullptr ? dumped(value.get()) : "none";
    }
    int32_t dump(const char* json) {
        const Document value(qiv_json_loads_ejs(json, 0, nullptr));
        return qiv_json_dump_file_ejs(value.get(), framework(file_).c_str());
    }

    OwnFolder folder_;
    std::string file_ = folder_.path("Ünïcode document.ejs");
};

TEST_F(FileOfJson, is_read_as_plain_json) {
    EXPECT_EQ(load("{\"a\": [1, \"ü𝔘\", null]}\n"), "{\"a\":[1,\"ü𝔘\",null]}");
    EXPECT_EQ(last_reason().kind, QIV_EJS_OK);
    EXPECT_EQ(last_reason().text, "");
    EXPECT_EQ(load("[]"), "[]");
}

TEST_F(FileOfJson, comes_back_as_it_was_stored) {
    ASSERT_EQ(dump("{\"z\":1,\"a\":[true,{\"b\":\"\\u0001ü\"}]}"), 0);
    EXPECT_EQ(load(), "{\"z\":1,\"a\":[true,{\"b\":\"\\u0001ü\"}]}");
    EXPECT_EQ(read_text(file_).back(), '\n');
    ASSERT_EQ(dump("[2]"), 0);
    EXPECT_EQ(read_text(file_), "[\n  2\n]\n");
    EXPECT_EQ(folder_.names().size(), 1U);
}

TEST_F(FileOfJson, that_is_missing_or_empty_gives_none) {
    EXPECT_EQ(load(), "none");
    EXPECT_EQ(last_reason().kind, QIV_EJS_MISSING);
    EXPECT_EQ(last_reason().line, 0);
    EXPECT_EQ(last_reason().text, framework(file_) + ": no such file");
    EXPECT_EQ(load(""), "none");
    EXPECT_EQ(last_reason().kind, QIV_EJS_EMPTY);
    file_ = folder_.path("no folder/file");
    EXPECT_EQ(load(), "none");
    EXPECT_EQ(last_reason().kind, QIV_EJS_MISSING);
}

TEST_F(FileOfJson, that_is_no_json_names_file_and_line_and_what_was_expected) {
    EXPECT_EQ(load("{\n  \"a\": 1,\n  \"b\" 2\n}"), "none");
    EXPECT_EQ(last_reason().kind, QIV_EJS_NO_JSON);
    EXPECT_EQ(last_reason().line, 3);
    EXPECT_EQ(last_reason().text, framework(file_) + ":3: no JSON document: ':' expected near '2'");
    for (const char* text : {"5", "\"text\"", "null", "[1] [2]", "[1,]", "[\"\xFF\"]", "nonsense",
                             "{\"a\":1", " \n\t"}) {
        EXPECT_EQ(load(text), "none") << text;
        EXPECT_EQ(last_reason().kind, QIV_EJS_NO_JSON) << text;
    }
    EXPECT_EQ(load(std::string_view("[1,\n2\0]", 7)), "none");
    EXPECT_EQ(last_reason().kind, QIV_EJS_NO_JSON);
    EXPECT_EQ(last_reason().line, 2);
}

TEST_F(FileOfJson, may_start_with_a_byte_order_mark) {
    EXPECT_EQ(load("\xEF\xBB\xBF[1]"), "[1]");
    EXPECT_EQ(load("\xEF\xBB\xBF"), "none");
    EXPECT_EQ(last_reason().kind, QIV_EJS_EMPTY);
    EXPECT_EQ(load("\xEF\xBB[1]"), "none");
    EXPECT_EQ(last_reason().kind, QIV_EJS_NO_JSON);
}

TEST_F(FileOfJson, keeps_the_last_of_two_equal_keys) {
    EXPECT_EQ(load(R"({"a":1,"b":2,"a":3})"), R"({"a":3,"b":2})");
}

TEST_F(FileOfJson, is_read_down_to_the_deepest_level_that_jansson_takes) {
    EXPECT_NE(load(std::string(2048, '[') + std::string(2048, ']')), "none");
    EXPECT_EQ(load(std::string(2049, '[') + std::string(2049, ']')), "none");
    EXPECT_EQ(last_reason().kind, QIV_EJS_TOO_DEEP);
    EXPECT_EQ(load(std::string(1'000'000, '[')), "none");
    EXPECT_EQ(last_reason().kind, QIV_EJS_TOO_DEEP);
}

TEST_F(FileOfJson, is_refused_over_the_limit_without_being_read) {
    write_text(file_, "[]");
    fs::resize_file(system_path(file_), QIV_EJS_FILE_LIMIT + 1);
    EXPECT_EQ(load(), "none");
    EXPECT_EQ(last_reason().kind, QIV_EJS_TOO_LARGE);
    content out;
    failure why;
    write_text(file_, "12345");
    EXPECT_TRUE(read_whole_file(framework(file_).c_str(), 5, out, why));
    EXPECT_EQ(std::string(out.data.get(), out.size), "12345");
    EXPECT_FALSE(read_whole_file(framework(file_).c_str(), 4, out, why));
    EXPECT_EQ(why.kind, QIV_EJS_TOO_LARGE);
}

TEST_F(FileOfJson, is_no_folder) {
    fs::create_directory(system_path(file_));
    EXPECT_EQ(load(), "none");
    EXPECT_EQ(last_reason().kind, QIV_EJS_NOT_A_FILE);
    EXPECT_EQ(dump("[]"), QIV_EJS_NOT_A_FILE);
    EXPECT_TRUE(fs::is_directory(system_path(file_)));
}

TEST_F(FileOfJson, cannot_be_written_where_no_folder_is) {
    file_ = folder_.path("missing/file");
    EXPECT_EQ(dump("[]"), QIV_EJS_NOT_WRITTEN);
    EXPECT_EQ(last_reason().kind, QIV_EJS_NOT_WRITTEN);
    EXPECT_TRUE(folder_.names().empty());
}

TEST_F(FileOfJson, takes_no_value_that_json_cannot_hold) {
    write_text(file_, "[\"old\"]");
    EXPECT_EQ(qiv_json_dump_file_ejs(nullptr, framework(file_).c_str()), QIV_EJS_BAD_VALUE);
    const Document text(qiv_json_string("text"));
    EXPECT_EQ(qiv_json_dump_file_ejs(text.get(), framework(file_).c_str()), QIV_EJS_BAD_VALUE);
    EXPECT_EQ(load(), "[\"old\"]");
    EXPECT_EQ(qiv_json_dump_file_ejs(text.get(), nullptr), QIV_EJS_BAD_VALUE);
    EXPECT_EQ(qiv_json_load_file_ejs(nullptr), nullptr);
    EXPECT_EQ(last_reason().kind, QIV_EJS_BAD_VALUE);
    EXPECT_EQ(qiv_json_load_file_ejs(""), nullptr);
    EXPECT_EQ(last_reason().kind, QIV_EJS_MISSING);
}

TEST_F(FileOfJson, of_many_megabytes_comes_back_as_it_was_stored) {
    const Document large(qiv_json_array());
    for (int i = 0; i < 200'000; i++)
        qiv_json_array_append_new(large.get(), qiv_json_string("twenty characters of"));
    ASSERT_EQ(qiv_json_dump_file_ejs(large.get(), framework(file_).c_str()), 0);
    const Document back(qiv_json_load_file_ejs(framework(file_).c_str()));
    EXPECT_EQ(qiv_json_equal(large.get(), back.get()), 1);
}

TEST(TextOfJson, makes_a_document_or_says_why_not) {
    const Document empty(qiv_json_loads_ejs("{}", 0, nullptr));
    EXPECT_EQ(dumped(empty.get()), "{}");
    EXPECT_EQ(last_reason().kind, QIV_EJS_OK);
    json_error_t error;
    EXPECT_EQ(qiv_json_loads_ejs("[\n", 0, &error), nullptr);
    EXPECT_EQ(error.line, 2);
    EXPECT_EQ(last_reason().text.rfind("text:2: ", 0), 0U) << last_reason().text;
    EXPECT_EQ(qiv_json_loads_ejs(nullptr, 0, nullptr), nullptr);
    EXPECT_EQ(last_reason().kind, QIV_EJS_NO_JSON);
}

TEST(ValuesOfJson, are_read_and_released_through_these_calls) {
    json_t* const value = qiv_json_loads_ejs(R"({"list":["x"]})", 0, nullptr);
    json_t* const list = qiv_json_object_get_ejs(value, "list");
    EXPECT_EQ(qiv_json_array_size_ejs(list), 1U);
    EXPECT_STREQ(qiv_json_string_value_ejs(qiv_json_array_get_ejs(list, 0)), "x");
    EXPECT_EQ(qiv_json_array_get_ejs(list, 1), nullptr);
    EXPECT_EQ(qiv_json_object_get_ejs(value, "none"), nullptr);
    json_incref(list);
    qiv_json_decref_ejs(value);
    EXPECT_EQ(qiv_json_array_size_ejs(list), 1U);
    qiv_json_decref_ejs(list);
    qiv_json_decref_ejs(nullptr);
    qiv_json_decref_ejs(qiv_json_true());
}

TEST(LastError, is_cut_to_the_buffer_and_keeps_to_one_line) {
    EXPECT_EQ(qiv_json_load_file_ejs("Z:\\no\nsuch\tfile"), nullptr);
    EXPECT_EQ(last_reason().text, "Z:\\no such file: no such file");
    char small[5] = "xxxx";
    EXPECT_EQ(qiv_ejs_last_error(small, sizeof small, nullptr), QIV_EJS_MISSING);
    EXPECT_STREQ(small, "Z:\\n");
    EXPECT_EQ(qiv_ejs_last_error(nullptr, 0, nullptr), QIV_EJS_MISSING);
    EXPECT_EQ(qiv_json_load_file_ejs(std::string(5000, 'p').c_str()), nullptr);
    EXPECT_EQ(last_reason().text.size(), 1023U);
}

TEST(TemporaryName, is_another_one_each_time) {
    const std::string name = temporary_name();
    EXPECT_EQ(name.size(), 5U + 16U);
    EXPECT_NE(name, temporary_name());
}

}  // namespace
}  // namespace orvu::ejs::tests
