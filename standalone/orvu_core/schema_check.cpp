#include "standalone/orvu_core/schema_check.h"

#include <cstring>
#include <exception>
#include <new>
#include <utility>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>

#include "standalone/orvu_core/json_ref.h"
#include "standalone/orvu_core/schema_shape.h"
#include "standalone/orvu_core/valijson_adapter.h"

namespace orvu {

namespace {

// The places of a validation error come as "<root>", "[key]", "[index]".
std::string place_of(const valijson::ValidationResults::Error& error) {
    std::string place;
    for (size_t i = 1; i < error.context.size(); ++i) {
        const std::string& part = error.context[i];
        const bool bracketed = part.size() > 2 && part.front() == '[' && part.back() == ']';
        place += "/" + (bracketed ? part.substr(1, part.size() - 2) : part);
    }
    return place.empty() ? "/" : place;
}

class ParsedSchema : public SchemaCheck {
  public:
    bool parse(json_t* text, SchemaDraft draft, std::string* reason) {
        valijson::SchemaParser parser(draft == SchemaDraft::draft3
                                          ? valijson::SchemaParser::kDraft3
                                          : valijson::SchemaParser::kDraft7);
        try {
            parser.populateSchema(JsonAdapter(text), schema_);
            return true;
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception& error) {
            *reason = error.what();
            return false;
        }
    }

    bool accepts(const json_t* value, std::string* reason) const override {
        try {
            // The adapters take a mutable value but only read it.
            const JsonAdapter target(const_cast<json_t*>(value));
            valijson::Validator quick;
            if (quick.validate(schema_, target, nullptr)) {
                return true;
            }
            // Only a refusal pays for the texts, and only its first, innermost one is told.
            valijson::ValidationResults results;
            valijson::Validator thorough;
            thorough.validate(schema_, target, &results);
            valijson::ValidationResults::Error first;
            *reason = results.popError(first) ? "at " + place_of(first) + ": " + first.description
                                              : "the parameters fail the schema";
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception& error) {
            *reason = error.what();
        }
        return false;
    }

  private:
    valijson::Schema schema_;
};

}  // namespace

std::shared_ptr<const SchemaCheck> SchemaCheck::make(const char* text, std::string* reason) {
    const size_t length = strnlen(text, kMaxText + 1);
    if (length > kMaxText) {
        *reason = "the schema text is too long";
        return nullptr;
    }
    json_error_t error;
    const JsonRef document(qiv_json_loadb(text, length, 0, &error));
    if (!json_is_object(document.get())) {
        *reason = document ? "the schema is no JSON object" : error.text;
        return nullptr;
    }
    const SchemaDraft draft = schema_draft(document.get(), kMaxLevels, reason);
    if (draft == SchemaDraft::refused) {
        return nullptr;
    }
    auto parsed = std::make_shared<ParsedSchema>();
    if (!parsed->parse(document.get(), draft, reason)) {
        return nullptr;
    }
    return parsed;
}

}  // namespace orvu
