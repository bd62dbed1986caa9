#include "standalone/orvu_core/relations_json.h"

#include <string>

namespace orvu {

namespace {

void set(const JsonRef& object, const char* key, JsonRef value) {
    qiv_json_object_set_new(object.get(), key, value.release());
}

JsonRef number(uint64_t value) {
    return JsonRef(qiv_json_integer(static_cast<json_int_t>(value)));
}

JsonRef flag(bool value) {
    return JsonRef(value ? qiv_json_true() : qiv_json_false());
}

JsonRef tag_text(const std::string& tag) {
    return json_text(tag.data(), tag.size());
}

JsonRef path_text(const wide_string& path) {
    return JsonRef(qiv_json_string(show_utf8(path).c_str()));
}

}  // namespace

JsonRef pid_relations_json(const std::vector<PidRelation>& relations) {
    JsonRef array(qiv_json_array());
    for (const PidRelation& relation : relations) {
        JsonRef entry(qiv_json_object());
        set(entry, "pid", number(relation.pid));
        set(entry, "appid", number(relation.appid));
        set(entry, "inherit", flag(relation.inherit));
        set(entry, "tag", tag_text(relation.tag));
        qiv_json_array_append_new(array.get(), entry.release());
    }
    return array;
}

JsonRef path_relations_json(const std::vector<PathRelation>& relations) {
    JsonRef array(qiv_json_array());
    for (const PathRelation& relation : relations) {
        JsonRef entry(qiv_json_object());
        set(entry, "path", path_text(relation.path));
        set(entry, "appid", number(relation.appid));
        set(entry, "inherit", flag(relation.inherit));
        set(entry, "tag", tag_text(relation.tag));
        qiv_json_array_append_new(array.get(), entry.release());
    }
    return array;
}

JsonRef relations_json(const RelationStore& store) {
    JsonRef all(qiv_json_object());
    set(all, "processes", pid_relations_json(store.pids()));
    set(all, "paths", path_relations_json(store.paths()));
    JsonRef unidentified(qiv_json_array());
    for (const wide_string& path : store.unidentified()) {
        qiv_json_array_append_new(unidentified.get(), path_text(path).release());
    }
    set(all, "unidentified", std::move(unidentified));
    JsonRef versions(qiv_json_array());
    for (const LibraryVersion& version : store.versions()) {
        JsonRef entry(qiv_json_object());
        set(entry, "tag", tag_text(version.tag));
        set(entry, "version", number(version.version));
        qiv_json_array_append_new(versions.get(), entry.release());
    }
    set(all, "versions", std::move(versions));
    return all;
}

}  // namespace orvu
