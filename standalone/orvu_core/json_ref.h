#ifndef ORVU_STANDALONE_ORVU_CORE_JSON_REF_H
#define ORVU_STANDALONE_ORVU_CORE_JSON_REF_H

#include <cstddef>
#include <cstdint>
#include <utility>

#include "qiv_jansson.h"

namespace orvu {

/* One counted reference to a JSON value, null allowed. Taking a raw pointer takes over the caller's
 * reference; copying adds one. The count is atomic, the value itself is not: a value that leaves
 * its thread leaves it whole, as a clone or by moving the only reference. */
class JsonRef {
  public:
    JsonRef() = default;
    explicit JsonRef(json_t* owned) : value_(owned) {}
    JsonRef(const JsonRef& other) : value_(json_incref(other.value_)) {}
    JsonRef(JsonRef&& other) noexcept : value_(std::exchange(other.value_, nullptr)) {}
    JsonRef& operator=(JsonRef other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    ~JsonRef() { drop(value_); }

    static JsonRef borrow(json_t* value) { return JsonRef(json_incref(value)); }

    json_t* get() const { return value_; }
    json_t* release() { return std::exchange(value_, nullptr); }
    explicit operator bool() const { return value_ != nullptr; }

  private:
    static void drop(json_t* value) {
        if (value != nullptr && value->refcount != SIZE_MAX &&
            __atomic_sub_fetch(&value->refcount, 1, __ATOMIC_ACQ_REL) == 0) {
            qiv_json_delete(value);
        }
    }

    json_t* value_ = nullptr;
};

/* How deep a value may be nested that another party hands over. */
constexpr int kMaxJsonDepth = 256;

enum class CloneError { none, too_deep, no_memory };

/* A deep copy of a value of bounded depth; a null value gives a null copy and no error. */
JsonRef json_clone(const json_t* value, CloneError* error);

/* A string value for any bytes: what is no UTF-8 becomes U+FFFD. */
JsonRef json_text(const char* bytes, size_t length);

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_JSON_REF_H
