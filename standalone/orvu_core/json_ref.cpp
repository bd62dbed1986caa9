#include "standalone/orvu_core/json_ref.h"

#include <string>
#include <string_view>

#include "standalone/orvu_core/text.h"

namespace orvu {

namespace {

bool within_depth(json_t* value, int left) {
    if (!json_is_object(value) && !json_is_array(value)) {
        return true;
    }
    if (left == 0) {
        return false;
    }
    if (json_is_array(value)) {
        const size_t size = qiv_json_array_size(value);
        for (size_t i = 0; i < size; ++i) {
            if (!within_depth(qiv_json_array_get(value, i), left - 1)) {
                return false;
            }
        }
        return true;
    }
    for (void* at = qiv_json_object_iter(value); at != nullptr;
         at = qiv_json_object_iter_next(value, at)) {
        if (!within_depth(qiv_json_object_iter_value(at), left - 1)) {
            return false;
        }
    }
    return true;
}

}  // namespace

JsonRef json_clone(const json_t* value, CloneError* error) {
    *error = CloneError::none;
    if (value == nullptr) {
        return {};
    }
    // Iterating takes a mutable object but changes nothing.
    if (!within_depth(const_cast<json_t*>(value), kMaxJsonDepth)) {
        *error = CloneError::too_deep;
        return {};
    }
    JsonRef copy(qiv_json_deep_copy(value));
    if (!copy) {
        *error = CloneError::no_memory;
    }
    return copy;
}

JsonRef json_text(const char* bytes, size_t length) {
    const std::string clean = clean_utf8(std::string_view(bytes, length));
    return JsonRef(qiv_json_string(clean.c_str()));
}

}  // namespace orvu
