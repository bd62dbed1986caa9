#include "standalone/orvu/in_process.h"

#include "orvubase.h"
#include "standalone/orvu/json.h"
#include "standalone/orvu/paths.h"
#include "standalone/orvu/system.h"
#include "standalone/orvu_core/orvu_core_host.h"
#include "standalone/orvubase/orvubase_host.h"

namespace orvu {

namespace {

constexpr uint32_t start_timeout_ms = 120'000;
constexpr uint32_t event_timeout_ms = 60'000;

// The made-up process that an event tells of. Any number but 0 and 4, which mean something.
constexpr uint64_t event_pid = 1000;

bool write_list_file(const std::vector<LibraryFile>& libraries, std::string& why) {
    const json_ptr list(qiv_json_array());
    for (const LibraryFile& library : libraries) {
        json_t* entry = qiv_json_object();
        qiv_json_object_set_new(entry, "tag", qiv_json_string(library.tag.c_str()));
        qiv_json_object_set_new(entry, "path", qiv_json_string(library.framework.c_str()));
        qiv_json_array_append_new(list.get(), entry);
    }
    const std::string path =
        framework_path(std::string(orvu_host_home()) + "/bin/kolvessa_rule_path.ejs");
    if (qiv_json_array_size(list.get()) != libraries.size() ||
        qiv_json_dump_file_ejs(list.get(), path.c_str()) != 0) {
        why = "the list of libraries can't be written: " + path;
        return false;
    }
    return true;
}

}  // namespace

bool start_plugin(const std::vector<LibraryFile>& libraries, std::string& why) {
    if (!write_list_file(libraries, why)) {
        return false;
    }
    const std::string file = program_folder() + "/" + plugin_file_name();
    const orvu_plugin_entry entry = load_plugin(file, why);
    if (entry == nullptr) {
        why = "the plug-in can't be loaded: " + file + ": " + why;
        return false;
    }
    if (const int32_t code = entry(nullptr); code != 0) {
        why = "the plug-in didn't start: code " + std::to_string(code);
        return false;
    }
    if (orvu_host_wait_event_handler(start_timeout_ms) != ORVU_HOST_OK) {
        why = "the plug-in doesn't take process events";
        return false;
    }
    return true;
}

Identification identify_path(const std::string& path) {
    Identification result;
    const auto wide = wide_framework_path(path);
    if (wide.empty()) {
        result.outcome = "failed";
        return result;
    }
    uint32_t flags = 0;
    const int32_t code =
        orvu_host_raise_process_event(event_pid, 0, wide.c_str(), 0, event_timeout_ms, &flags);
    const json_ptr relations(orvu_host_relations_of(event_pid));
    for (size_t i = 0; i < qiv_json_array_size(relations.get()); ++i) {
        const json_t* relation = qiv_json_array_get(relations.get(), i);
        result.appids.push_back(
            static_cast<uint32_t>(qiv_json_integer_value(qiv_json_object_get(relation, "appid"))));
    }
    orvu_host_forget_pid(event_pid);
    if (code == ORVU_HOST_TIMED_OUT) {
        result.outcome = "timed out";
    } else if (!result.appids.empty()) {
        result.outcome = "identified";
    } else if (code == ORVU_HOST_OK && (flags & ORVU_EVENT_FLAG_ISAPPID) != 0) {
        result.outcome = "no rule";
    } else {
        result.outcome = "failed";
    }
    return result;
}

}  // namespace orvu
