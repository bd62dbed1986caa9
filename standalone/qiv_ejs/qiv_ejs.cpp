// The calls of qiv_ejs.h. The stored form is plain JSON in UTF-8, indented by two, with a line end
// after the last line. A byte order mark in front, as some editors leave, is read over and never
// written; a file with nothing else in it is empty.

#include "qiv_ejs.h"

#include <algorithm>
#include <exception>
#include <string_view>

#include "qiv_jansson.h"
#include "standalone/qiv_ejs/last_error.h"
#include "standalone/qiv_ejs/qiv_ejs_host.h"
#include "standalone/qiv_ejs/whole_file.h"

namespace orvu::ejs {
namespace {

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

void set_json_error(const char* path, const json_error_t& error) {
    const int32_t line = error.line > 0 ? error.line : 0;
    switch (json_error_code(&error)) {
        case json_error_out_of_memory:
            return set_error(QIV_EJS_NO_MEMORY, path, line, "not enough memory");
        case json_error_stack_overflow:
            return set_error(QIV_EJS_TOO_DEEP, path, line, "nested deeper than 2048 levels");
        default:
            return set_error(QIV_EJS_NO_JSON, path, line, "no JSON document", error.text);
    }
}

// What qiv_json_dumps gave; released on every way out.
struct dumped_text {
    explicit dumped_text(char* text) : text(text) {}
    dumped_text(const dumped_text&) = delete;
    dumped_text& operator=(const dumped_text&) = delete;
    ~dumped_text() { qiv_jsonp_free(text); }
    char* text;
};

json_t* load(const char* path) {
    content file;
    failure why;
    if (!read_whole_file(path, QIV_EJS_FILE_LIMIT, file, why)) {
        set_error(why.kind, path, 0, why.reason.c_str());
        return nullptr;
    }
    std::string_view text(file.data.get(), file.size);
    if (text.starts_with(byte_order_mark))
        text.remove_prefix(byte_order_mark.size());
    if (text.empty()) {
        set_error(QIV_EJS_EMPTY, path, 0, "the file is empty");
        return nullptr;
    }
    if (const size_t at = text.find('\0'); at != std::string_view::npos) {
        // Jansson would read over it.
        const auto line = 1 + std::count(text.begin(), text.begin() + at, '\n');
        set_error(QIV_EJS_NO_JSON, path, static_cast<int32_t>(line), "no JSON document",
                  "a NUL byte in the text");
        return nullptr;
    }
    json_error_t error;
    json_t* value = qiv_json_loadb(text.data(), text.size(), 0, &error);
    if (value == nullptr) {
        set_json_error(path, error);
    } else {
        clear_error();
    }
    return value;
}

int32_t dump(const json_t* value, const char* path) {
    const dumped_text dumped(qiv_json_dumps(value, JSON_INDENT(2)));
    if (dumped.text == nullptr) {
        set_error(QIV_EJS_BAD_VALUE, path, 0, "the value is no object or array that JSON can hold");
        return QIV_EJS_BAD_VALUE;
    }
    std::string text(dumped.text);
    text += '\n';
    failure why;
    if (!replace_file(path, text, why)) {
        set_error(why.kind, path, 0, why.reason.c_str());
        return why.kind;
    }
    clear_error();
    return QIV_EJS_OK;
}

}  // namespace
}  // namespace orvu::ejs

json_t* qiv_json_load_file_ejs(const char* path) {
    using namespace orvu::ejs;
    try {
        if (path != nullptr)
            return load(path);
        set_error(QIV_EJS_BAD_VALUE, path, 0, "no path");
    } catch (const std::exception&) {
        set_error(QIV_EJS_NO_MEMORY, path, 0, "not enough memory");
    }
    return nullptr;
}

int32_t qiv_json_dump_file_ejs(const json_t* value, const char* path) {
    using namespace orvu::ejs;
    try {
        if (path != nullptr)
            return dump(value, path);
        set_error(QIV_EJS_BAD_VALUE, path, 0, "no path");
        return QIV_EJS_BAD_VALUE;
    } catch (const std::exception&) {
        set_error(QIV_EJS_NO_MEMORY, path, 0, "not enough memory");
        return QIV_EJS_NO_MEMORY;
    }
}

json_t* qiv_json_loads_ejs(const char* text, size_t flags, json_error_t* error) {
    using namespace orvu::ejs;
    json_error_t local;
    if (error == nullptr)
        error = &local;
    json_t* value = qiv_json_loads(text, flags, error);
    if (value == nullptr) {
        set_json_error("text", *error);
    } else {
        clear_error();
    }
    return value;
}

void qiv_json_decref_ejs(json_t* value) {
    if (value == nullptr)
        return;
    // By hand, since Jansson's own inline form would call into a Jansson that isn't linked here.
    if (__atomic_load_n(&value->refcount, __ATOMIC_RELAXED) == static_cast<size_t>(-1))
        return;
    if (__atomic_sub_fetch(&value->refcount, 1, __ATOMIC_ACQ_REL) == 0)
        qiv_json_delete(value);
}

json_t* qiv_json_object_get_ejs(const json_t* object, const char* key) {
    return qiv_json_object_get(object, key);
}

size_t qiv_json_array_size_ejs(const json_t* array) {
    return qiv_json_array_size(array);
}

json_t* qiv_json_array_get_ejs(const json_t* array, size_t index) {
    return qiv_json_array_get(array, index);
}

const char* qiv_json_string_value_ejs(const json_t* string) {
    return qiv_json_string_value(string);
}
