#include "standalone/orvu_core/schema_shape.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace orvu {

namespace {

// Members of these hold schemas under names of the author's choice, so that the names are no
// keywords.
bool holds_named_schemas(std::string_view key) {
    return key == "properties" || key == "definitions" || key == "dependencies";
}

// Members of these are plain data, whatever they look like.
bool holds_data(std::string_view key) {
    return key == "const" || key == "enum" || key == "default" || key == "examples";
}

// Patterns, formats and references cost what their author likes, comparing each item with each
// other costs what the requester likes, and the division goes wrong for some divisors and values.
bool is_refused(std::string_view key) {
    constexpr std::string_view kRefused[] = {
        "pattern", "patternProperties", "format",     "$ref",       "id",
        "$id",     "uniqueItems",       "multipleOf", "divisibleBy"};
    return std::find(std::begin(kRefused), std::end(kRefused), key) != std::end(kRefused);
}

std::string below(const std::string& place, std::string_view name) {
    std::string path = place;
    path += '/';
    path += name;
    return path;
}

class Walk {
  public:
    explicit Walk(std::string* reason) : reason_(reason) {}

    bool schema(json_t* node, int levels, const std::string& place) {
        if (levels == 0) {
            return refuse("nested too deeply at " + place);
        }
        if (json_is_array(node)) {
            for (size_t i = 0; i < qiv_json_array_size(node); ++i) {
                if (!schema(qiv_json_array_get(node, i), levels - 1,
                            below(place, std::to_string(i)))) {
                    return false;
                }
            }
            return true;
        }
        for (void* at = json_is_object(node) ? qiv_json_object_iter(node) : nullptr; at != nullptr;
             at = qiv_json_object_iter_next(node, at)) {
            const std::string key = qiv_json_object_iter_key(at);
            if (!member(key, qiv_json_object_iter_value(at), levels, below(place, key))) {
                return false;
            }
        }
        return true;
    }

    bool list_seen() const { return list_seen_; }
    bool flag_seen() const { return flag_seen_; }

  private:
    bool member(const std::string& key, json_t* value, int levels, const std::string& place) {
        if (is_refused(key)) {
            return refuse("\"" + key + "\" is not supported, at " + place);
        }
        if (key == "required") {
            list_seen_ = list_seen_ || json_is_array(value);
            flag_seen_ = flag_seen_ || json_is_boolean(value);
            return true;
        }
        if (holds_data(key)) {
            return depth(value, levels - 1, place);
        }
        if (!holds_named_schemas(key) || !json_is_object(value)) {
            return schema(value, levels - 1, place);
        }
        for (void* at = qiv_json_object_iter(value); at != nullptr;
             at = qiv_json_object_iter_next(value, at)) {
            if (!schema(qiv_json_object_iter_value(at), levels - 1,
                        below(place, qiv_json_object_iter_key(at)))) {
                return false;
            }
        }
        return true;
    }

    bool depth(json_t* value, int levels, const std::string& place) {
        if (levels == 0) {
            return refuse("nested too deeply at " + place);
        }
        for (size_t i = 0; json_is_array(value) && i < qiv_json_array_size(value); ++i) {
            if (!depth(qiv_json_array_get(value, i), levels - 1, place)) {
                return false;
            }
        }
        for (void* at = json_is_object(value) ? qiv_json_object_iter(value) : nullptr;
             at != nullptr; at = qiv_json_object_iter_next(value, at)) {
            if (!depth(qiv_json_object_iter_value(at), levels - 1, place)) {
                return false;
            }
        }
        return true;
    }

    bool refuse(const std::string& why) {
        *reason_ = why;
        return false;
    }

    std::string* reason_;
    bool list_seen_ = false;
    bool flag_seen_ = false;
};

}  // namespace

SchemaDraft schema_draft(json_t* schema, int max_levels, std::string* reason) {
    Walk walk(reason);
    if (!walk.schema(schema, max_levels, "#")) {
        return SchemaDraft::refused;
    }
    if (walk.list_seen() && walk.flag_seen()) {
        *reason = "\"required\" is a list in one place and a boolean in another";
        return SchemaDraft::refused;
    }
    return walk.flag_seen() ? SchemaDraft::draft3 : SchemaDraft::draft7;
}

}  // namespace orvu
