#ifndef KOLVESSA_APP_RULE_APP_RULE_H
#define KOLVESSA_APP_RULE_APP_RULE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "plugins/kolvessa/app_rule/library_tags.h"
#include "plugins/kolvessa/app_rule/rule_element.h"
#include "plugins/kolvessa/kolvessa/app_info.h"

namespace kolvessa {

struct RuleContent;

// One installed library.
struct LibraryEntry {
    uint64_t version = 0;
    std::string path;  // of its file, as it was handed in
};

// The installed rule libraries: their list, and what a parse of their files gave.
//
// CAppRule takes no lock. Const operations want the shared side of the owner's lock, the others its
// exclusive side; `library_tags` alone may be read from any thread without it. List and content
// move apart on purpose: an entry changed by `load_json_from_file` is served after the next
// `do_all_parsh_json`. An exception (an allocation that failed) leaves the list as it was or
// changed whole, and the content as it was or empty, never half built.
class CAppRule {
  public:
    using Libraries = std::map<std::string, LibraryEntry, std::less<>>;

    CAppRule();
    ~CAppRule();
    CAppRule(const CAppRule&) = delete;
    CAppRule& operator=(const CAppRule&) = delete;

    // Drops all rules and parses every installed library afresh, in ascending order of the tags. A
    // library that can't be opened is tried ten times with a pause of 500 ms after each failure,
    // each logged at warn, and then left out. 0 when there is no library or at least one element
    // was loaded, else 1: the store is empty, only the categories of what could be read stand.
    int32_t do_all_parsh_json();

    // Sets `out` to the appids at and below a category, given as "tag/name/name", each node's own
    // before those of its sub-categories. 0; 1 for a path without tokens, 2 for an unknown tag, 3
    // for an unknown category below it.
    int32_t get_appids_by_category(std::vector<uint32_t>& out, const char* path) const;

    // The number of elements. With none there is nothing to match.
    size_t rule_count() const noexcept;

    // Whether any rule asks for the path of a file.
    bool has_path_patterns() const noexcept;

    // Appends a copy of every element all of whose stated attributes the file has, in load order.
    // Always 0.
    int32_t match_app_info(const AppInfo& app_info, std::vector<RuleElement>& matches) const;

    // The version of a tag's library, 0 for an unknown tag.
    uint64_t get_library_version(std::string_view tag) const noexcept;

    // Puts the file at `path` under `tag`, or deletes the tag when `path` is null. A file with a
    // lower version than the installed one is passed over, one with the same version replaces the
    // path alone. `changed` tells whether a re-parse is due. 0; 1 when the file can't be opened, 2
    // for deleting a tag that isn't there.
    int32_t load_json_from_file(const char* path, const char* tag, bool& changed);

    // Reads the list file, takes each of its entries as load_json_from_file does, and re-parses
    // when that changed anything. 0, also when entries failed; 1 when the file is no list.
    int32_t load_rulepath_by_file();

    // Writes the list file; the result is the host's.
    int32_t save_rulepath_to_file() const;

    const Libraries& libraries() const noexcept { return libraries_; }
    const std::string& rule_path_file() const noexcept { return rule_path_file_; }

    // Which tags are installed, to be asked from any thread without the lock, for as long as this
    // object lives.
    const LibraryTags& library_tags() const noexcept { return library_tags_; }
    bool has_library(std::string_view tag) const { return library_tags_.contains(tag); }

  private:
    int32_t init_rule_store();

    Libraries libraries_;
    std::string rule_path_file_;
    LibraryTags library_tags_;
    std::unique_ptr<RuleContent> content_;
};

}  // namespace kolvessa

#endif  // KOLVESSA_APP_RULE_APP_RULE_H
