#ifndef ORVU_STANDALONE_ORVU_CORE_SCHEMA_CHECK_H
#define ORVU_STANDALONE_ORVU_CORE_SCHEMA_CHECK_H

#include <memory>
#include <string>

#include "qiv_jansson.h"

namespace orvu {

/* A JSON schema that requests are checked against. Immutable once made: any number of threads may
 * check at once.
 *
 * Both spellings of "required" are understood, told apart by their shape: a list of names beside
 * "properties" makes it a draft 7 schema, a boolean inside a property's own schema a draft 3 one. A
 * text with both is refused, since no draft reads it. Keywords that a draft doesn't know are
 * ignored. Refused as well, because their cost can't be bounded: "pattern", "patternProperties",
 * "format", "uniqueItems", references, more than kMaxLevels levels and texts above kMaxText bytes;
 * and "multipleOf" and "divisibleBy", whose division isn't defined for every divisor and value. */
class SchemaCheck {
  public:
    static constexpr size_t kMaxText = 256 * 1024;
    static constexpr int kMaxLevels = 32;

    /* Parses the text. Null with a reason when it isn't a schema that can be checked. May throw
     * std::bad_alloc. */
    static std::shared_ptr<const SchemaCheck> make(const char* text, std::string* reason);

    SchemaCheck(const SchemaCheck&) = delete;
    SchemaCheck& operator=(const SchemaCheck&) = delete;
    virtual ~SchemaCheck() = default;

    /* Whether the value satisfies the schema; a null pointer counts as JSON null. If not, the
     * reason names the place in the value and what was expected there. May throw std::bad_alloc. */
    virtual bool accepts(const json_t* value, std::string* reason) const = 0;

  protected:
    SchemaCheck() = default;
};

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_SCHEMA_CHECK_H
