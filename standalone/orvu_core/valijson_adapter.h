#ifndef ORVU_STANDALONE_ORVU_CORE_VALIJSON_ADAPTER_H
#define ORVU_STANDALONE_ORVU_CORE_VALIJSON_ADAPTER_H

/* Lets valijson read JSON values of the contract. Only schema_check.cpp includes this, since every
 * file that does pays seconds of compile time.
 *
 * All classes are views: they borrow the value they are made from, which must outlive them. Only
 * FrozenJson owns a copy, for the constants that a schema keeps after its text is gone. */

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <valijson/exceptions.hpp>
#include <valijson/internal/adapter.hpp>
#include <valijson/internal/basic_adapter.hpp>
#include <valijson/internal/frozen_value.hpp>

#include "standalone/orvu_core/json_ref.h"

namespace orvu {

class JsonAdapter;
using JsonMember = std::pair<std::string, JsonAdapter>;

class JsonArrayIterator {
  public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = JsonAdapter;
    using difference_type = std::ptrdiff_t;
    using pointer = JsonAdapter*;
    using reference = JsonAdapter;

    JsonArrayIterator(json_t* array, size_t index) : array_(array), index_(index) {}

    JsonAdapter operator*() const;
    valijson::adapters::DerefProxy<JsonAdapter> operator->() const;
    bool operator==(const JsonArrayIterator& other) const { return index_ == other.index_; }
    JsonArrayIterator& operator++() {
        ++index_;
        return *this;
    }
    JsonArrayIterator operator++(int) {
        JsonArrayIterator before(*this);
        ++index_;
        return before;
    }
    JsonArrayIterator& operator--() {
        --index_;
        return *this;
    }
    void advance(std::ptrdiff_t n) { index_ += static_cast<size_t>(n); }

  private:
    json_t* array_;
    size_t index_;
};

class JsonObjectIterator {
  public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = JsonMember;
    using difference_type = std::ptrdiff_t;
    using pointer = JsonMember*;
    using reference = JsonMember;

    JsonObjectIterator(json_t* object, void* at) : object_(object), at_(at) {}
    JsonObjectIterator(json_t* object, std::string key, json_t* value)
        : object_(object), key_(std::move(key)), found_(value) {}

    JsonMember operator*() const;
    valijson::adapters::DerefProxy<JsonMember> operator->() const;
    bool operator==(const JsonObjectIterator& other) const {
        return at_ == other.at_ && found_ == other.found_;
    }
    JsonObjectIterator& operator++() {
        at_ = at_ == nullptr ? nullptr : qiv_json_object_iter_next(object_, at_);
        found_ = nullptr;
        return *this;
    }
    JsonObjectIterator operator++(int) {
        JsonObjectIterator before(*this);
        ++*this;
        return before;
    }

  private:
    json_t* object_;
    void* at_ = nullptr;  // walking
    std::string key_;     // or the one member that find() found
    json_t* found_ = nullptr;
};

class JsonArray {
  public:
    using const_iterator = JsonArrayIterator;
    using iterator = JsonArrayIterator;

    JsonArray() = default;
    explicit JsonArray(json_t* value) : value_(value) {}
    JsonArrayIterator begin() const { return {value_, 0}; }
    JsonArrayIterator end() const { return {value_, size()}; }
    size_t size() const { return value_ == nullptr ? 0 : qiv_json_array_size(value_); }

  private:
    json_t* value_ = nullptr;
};

class JsonObject {
  public:
    using const_iterator = JsonObjectIterator;
    using iterator = JsonObjectIterator;

    JsonObject() = default;
    explicit JsonObject(json_t* value) : value_(value) {}
    JsonObjectIterator begin() const {
        return {value_, value_ == nullptr ? nullptr : qiv_json_object_iter(value_)};
    }
    JsonObjectIterator end() const { return {value_, nullptr}; }
    JsonObjectIterator find(const std::string& key) const {
        json_t* member = value_ == nullptr || key.find('\0') != std::string::npos
                             ? nullptr
                             : qiv_json_object_get(value_, key.c_str());
        return member == nullptr ? end() : JsonObjectIterator(value_, key, member);
    }
    size_t size() const { return value_ == nullptr ? 0 : qiv_json_object_size(value_); }

  private:
    json_t* value_ = nullptr;
};

class FrozenJson : public valijson::adapters::FrozenValue {
  public:
    explicit FrozenJson(JsonRef value) : value_(std::move(value)) {}
    FrozenValue* clone() const override { return std::make_unique<FrozenJson>(value_).release(); }
    bool equalTo(const valijson::adapters::Adapter& other, bool strict) const override;

  private:
    JsonRef value_;
};

/* What BasicAdapter asks of a value. A null pointer reads as JSON null. */
class JsonValue {
  public:
    JsonValue() = default;
    explicit JsonValue(json_t* value) : value_(value) {}

    valijson::adapters::FrozenValue* freeze() const {
        CloneError error = CloneError::none;
        JsonRef copy = json_clone(value_, &error);
        if (error != CloneError::none) {
            valijson::throwRuntimeError("a constant of the schema can't be kept");
        }
        return std::make_unique<FrozenJson>(std::move(copy)).release();
    }

    opt::optional<JsonArray> getArrayOptional() const {
        return isArray() ? opt::make_optional(JsonArray(value_)) : opt::optional<JsonArray>();
    }
    opt::optional<JsonObject> getObjectOptional() const {
        return isObject() ? opt::make_optional(JsonObject(value_)) : opt::optional<JsonObject>();
    }
    bool getArraySize(size_t& result) const {
        result = isArray() ? qiv_json_array_size(value_) : 0;
        return isArray();
    }
    bool getObjectSize(size_t& result) const {
        result = isObject() ? qiv_json_object_size(value_) : 0;
        return isObject();
    }
    bool getBool(bool& result) const {
        result = json_is_true(value_);
        return isBool();
    }
    bool getDouble(double& result) const {
        result = isDouble() ? qiv_json_number_value(value_) : 0;
        return isDouble();
    }
    bool getInteger(int64_t& result) const {
        result = isInteger() ? qiv_json_integer_value(value_) : 0;
        return isInteger();
    }
    bool getString(std::string& result) const {
        if (!isString()) {
            return false;
        }
        result.assign(qiv_json_string_value(value_), qiv_json_string_length(value_));
        return true;
    }

    static bool hasStrictTypes() { return true; }
    bool isArray() const { return json_is_array(value_); }
    bool isBool() const { return json_is_boolean(value_); }
    bool isDouble() const { return json_is_real(value_); }
    bool isInteger() const { return json_is_integer(value_); }
    bool isNull() const { return value_ == nullptr || json_is_null(value_); }
    bool isNumber() const { return json_is_number(value_); }
    bool isObject() const { return json_is_object(value_); }
    bool isString() const { return json_is_string(value_); }

  private:
    json_t* value_ = nullptr;
};

class JsonAdapter : public valijson::adapters::BasicAdapter<JsonAdapter, JsonArray, JsonMember,
                                                            JsonObject, JsonValue> {
  public:
    JsonAdapter() = default;
    explicit JsonAdapter(json_t* value) : BasicAdapter(JsonValue(value)) {}
    explicit JsonAdapter(const json_t& value) : JsonAdapter(const_cast<json_t*>(&value)) {}
};

inline JsonAdapter JsonArrayIterator::operator*() const {
    return JsonAdapter(qiv_json_array_get(array_, index_));
}

inline valijson::adapters::DerefProxy<JsonAdapter> JsonArrayIterator::operator->() const {
    return valijson::adapters::DerefProxy<JsonAdapter>(**this);
}

inline JsonMember JsonObjectIterator::operator*() const {
    if (found_ != nullptr) {
        return {key_, JsonAdapter(found_)};
    }
    return {qiv_json_object_iter_key(at_), JsonAdapter(qiv_json_object_iter_value(at_))};
}

inline valijson::adapters::DerefProxy<JsonMember> JsonObjectIterator::operator->() const {
    return valijson::adapters::DerefProxy<JsonMember>(**this);
}

inline bool FrozenJson::equalTo(const valijson::adapters::Adapter& other, bool strict) const {
    return JsonAdapter(value_.get()).equalTo(other, strict);
}

}  // namespace orvu

namespace valijson::adapters {

template <>
struct AdapterTraits<orvu::JsonAdapter> {
    using DocumentType = json_t;
    static std::string adapterName() { return "JsonAdapter"; }
};

}  // namespace valijson::adapters

#endif  // ORVU_STANDALONE_ORVU_CORE_VALIJSON_ADAPTER_H
