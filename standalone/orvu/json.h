#ifndef ORVU_PROGRAM_JSON_H
#define ORVU_PROGRAM_JSON_H

// A JSON value with one owner. What a call of Jansson's gives as a new reference goes in here.

#include <memory>
#include <string>

#include "qiv_ejs.h"
#include "qiv_jansson.h"

namespace orvu {

struct json_release {
    void operator()(json_t* value) const { qiv_json_decref_ejs(value); }
};
using json_ptr = std::unique_ptr<json_t, json_release>;

// One line of JSON text, without a line end; empty when the value can't be written.
inline std::string json_line(const json_t* value) {
    std::unique_ptr<char, void (*)(void*)> text(
        qiv_json_dumps(value, JSON_COMPACT | JSON_ENCODE_ANY), qiv_jsonp_free);
    return text ? std::string(text.get()) : std::string();
}

}  // namespace orvu

#endif  // ORVU_PROGRAM_JSON_H
