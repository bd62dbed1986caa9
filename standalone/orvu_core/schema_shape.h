#ifndef ORVU_STANDALONE_ORVU_CORE_SCHEMA_SHAPE_H
#define ORVU_STANDALONE_ORVU_CORE_SCHEMA_SHAPE_H

#include <string>

#include "qiv_jansson.h"

namespace orvu {

enum class SchemaDraft { draft3, draft7, refused };

/* Looks at a schema before it is parsed: which draft its "required" is written for, and whether it
 * holds anything that this host refuses (see schema_check.h); then the reason says what and where.
 * Without any "required" it is draft 7. */
SchemaDraft schema_draft(json_t* schema, int max_levels, std::string* reason);

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_SCHEMA_SHAPE_H
