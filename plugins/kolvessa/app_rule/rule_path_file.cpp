// The list of installed libraries: its versions, and the file that brings it back.

#include <utility>

#include "orvubase.h"
#include "plugins/kolvessa/app_rule/app_rule.h"
#include "plugins/kolvessa/json_ref.h"
#include "plugins/kolvessa/log.h"
#include "qiv_ejs.h"
#include "qiv_jansson.h"

namespace kolvessa {
namespace {

// What an entry of the list file came to; a refused library is its code times ten plus 3.
constexpr int32_t entry_without_tag = 1;
constexpr int32_t entry_without_path = 2;
constexpr int32_t entry_refused_step = 3;

// What saving returns when the list can't be said in JSON: memory ran out, or a tag or a path is no
// UTF-8. A list with a gap is never written.
constexpr int32_t save_unspeakable = -1;

uint64_t library_version(const json_t* document) {
    return static_cast<uint64_t>(json_member_integer(json_member(document, "apprule"), "version"));
}

// The list as a document, null when it can't be made whole.
json_t* list_document(const CAppRule::Libraries& libraries) {
    JsonRef list(qiv_json_array());
    for (const auto& [tag, library] : libraries) {
        JsonRef entry(qiv_json_object());
        if (qiv_json_object_set_new(entry.get(), "tag", qiv_json_string(tag.c_str())) != 0 ||
            qiv_json_object_set_new(entry.get(), "path", qiv_json_string(library.path.c_str())) !=
                0 ||
            qiv_json_array_append_new(list.get(), entry.release()) != 0) {
            return nullptr;
        }
    }
    return list.release();
}

}  // namespace

uint64_t CAppRule::get_library_version(std::string_view tag) const noexcept {
    const auto found = libraries_.find(tag);
    return found == libraries_.end() ? 0 : found->second.version;
}

int32_t CAppRule::load_json_from_file(const char* path, const char* tag, bool& changed) {
    changed = false;
    const std::string_view key = tag == nullptr ? std::string_view() : tag;
    uint64_t version = 0;
    if (path != nullptr) {
        const EjsRef document(qiv_json_load_file_ejs(path));
        if (!document) {
            return 1;
        }
        version = library_version(document.get());
    }

    const auto found = libraries_.find(key);
    if (found == libraries_.end()) {
        if (path == nullptr) {
            return 2;
        }
        auto prepared = LibraryTags::prepare(key);
        libraries_.emplace(key, LibraryEntry{version, path});
        library_tags_.add(std::move(prepared));
        changed = true;
        return 0;
    }
    if (path == nullptr) {
        library_tags_.remove(key);
        libraries_.erase(found);
        changed = true;
        return 0;
    }

    LibraryEntry& entry = found->second;
    KOLVESSA_LOG_INFO("lib ver cur:%llu old:%llu tag:%s \n",
                      static_cast<unsigned long long>(version),
                      static_cast<unsigned long long>(entry.version), found->first.c_str());
    if (entry.version > version) {
        return 0;
    }
    entry.path = std::string(path);
    changed = entry.version < version;
    entry.version = version;
    return 0;
}

int32_t CAppRule::load_rulepath_by_file() {
    const EjsRef list(qiv_json_load_file_ejs(rule_path_file_.c_str()));
    if (!json_is_array(list.get())) {
        KOLVESSA_LOG_WARN("load_rulepath_by_file ret:%d\n", 1);
        return 1;
    }
    bool any_changed = false;
    const size_t count = qiv_json_array_size_ejs(list.get());
    for (size_t i = 0; i < count; ++i) {
        const json_t* entry = qiv_json_array_get_ejs(list.get(), i);
        const char* tag = json_member_string(entry, "tag");
        if (tag == nullptr) {
            KOLVESSA_LOG_INFO("file load_json_from_file ret:%d\n", entry_without_tag);
            continue;
        }
        const char* path = json_member_string(entry, "path");
        if (path == nullptr) {
            KOLVESSA_LOG_INFO("file load_json_from_file ret:%d\n", entry_without_path);
            continue;
        }
        bool changed = false;
        const int32_t result = load_json_from_file(path, tag, changed);
        const int32_t code = result == 0 ? 0 : result * 10 + entry_refused_step;
        any_changed = any_changed || changed;
        KOLVESSA_LOG_INFO("file load_json_from_file ret:%d tag:%s path:%s\n", code, tag, path);
    }
    if (any_changed) {
        do_all_parsh_json();
    }
    return 0;
}

int32_t CAppRule::save_rulepath_to_file() const {
    const JsonRef list(list_document(libraries_));
    const int32_t result =
        list ? qiv_json_dump_file_ejs(list.get(), rule_path_file_.c_str()) : save_unspeakable;
    if (result != 0) {
        KOLVESSA_LOG_WARN("save_rulepath_to_file ret:%d", result);
    }
    return result;
}

}  // namespace kolvessa
