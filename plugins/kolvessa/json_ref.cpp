#include "plugins/kolvessa/json_ref.h"

#include "orvubase.h"
#include "qiv_ejs.h"
#include "qiv_jansson.h"

namespace kolvessa {
namespace {

// The count that marks a value which lives for good, like Jansson's null, true and false.
constexpr size_t permanent_count = static_cast<size_t>(-1);

}  // namespace

void release_json(json_t* value) noexcept {
    if (value == nullptr || value->refcount == permanent_count) {
        return;
    }
    static_assert(sizeof value->refcount == sizeof(int64_t));
    auto* count = reinterpret_cast<volatile int64_t*>(&value->refcount);
    if (orvu_atomic64_add_and_fetch(count, -1) == 0) {
        qiv_json_delete(value);
    }
}

void EjsRelease::operator()(json_t* value) const noexcept {
    qiv_json_decref_ejs(value);
}

json_t* json_member(const json_t* object, const char* key) noexcept {
    return qiv_json_object_get_ejs(object, key);
}

const char* json_member_string(const json_t* object, const char* key) noexcept {
    return qiv_json_string_value_ejs(json_member(object, key));
}

json_int_t json_member_integer(const json_t* object, const char* key) noexcept {
    return qiv_json_integer_value(json_member(object, key));
}

}  // namespace kolvessa
