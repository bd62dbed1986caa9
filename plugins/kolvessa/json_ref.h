#ifndef KOLVESSA_JSON_REF_H
#define KOLVESSA_JSON_REF_H

// Owning JSON references, and reading members through the host's calls. A reference is dropped by
// hand: Jansson's inline release must not be used here, since the values' allocator and Jansson
// itself may live in another library. The types are single owners, for one thread at a time;
// reading never fails otherwise than by "there is none".

#include <memory>

#include "orvu_types.h"

namespace kolvessa {

// Drops one reference of a value made with the qiv_json_ calls. Null and permanent values are left
// alone.
void release_json(json_t* value) noexcept;

struct JsonRelease {
    void operator()(json_t* value) const noexcept { release_json(value); }
};
struct EjsRelease {
    void operator()(json_t* value) const noexcept;
};

// One reference to a value of our own making, and to a document of the .ejs calls.
using JsonRef = std::unique_ptr<json_t, JsonRelease>;
using EjsRef = std::unique_ptr<json_t, EjsRelease>;

// The member of an object; null when `object` is none, or no object, or has no such member.
json_t* json_member(const json_t* object, const char* key) noexcept;

// The member's text, null when there is no such member or it is no string.
const char* json_member_string(const json_t* object, const char* key) noexcept;

// The member's number, 0 when there is no such member or it is no integer.
json_int_t json_member_integer(const json_t* object, const char* key) noexcept;

}  // namespace kolvessa

#endif  // KOLVESSA_JSON_REF_H
