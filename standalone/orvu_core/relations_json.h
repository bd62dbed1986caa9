#ifndef ORVU_STANDALONE_ORVU_CORE_RELATIONS_JSON_H
#define ORVU_STANDALONE_ORVU_CORE_RELATIONS_JSON_H

#include "standalone/orvu_core/json_ref.h"
#include "standalone/orvu_core/relation_store.h"

namespace orvu {

/* The JSON forms in which the host shows the store; null without memory. Tags and paths that are no
 * valid text show U+FFFD in place of what is not. */
JsonRef relations_json(const RelationStore& store);
JsonRef pid_relations_json(const std::vector<PidRelation>& relations);
JsonRef path_relations_json(const std::vector<PathRelation>& relations);

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_RELATIONS_JSON_H
