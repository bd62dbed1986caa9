#ifndef TESTS_PLUGINS_KOLVESSA_APP_RULE_RULE_MATCH_MODEL_H
#define TESTS_PLUGINS_KOLVESSA_APP_RULE_RULE_MATCH_MODEL_H

// The rule store as it is defined rather than as it is built: recursive parse, one map of lists for
// each attribute, candidate lists merged pass by pass through a map. Slow, and the judge of the
// real one.

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "orvubase.h"
#include "plugins/kolvessa/aho_corasick.h"
#include "plugins/kolvessa/app_rule/rule_element.h"
#include "plugins/kolvessa/json_ref.h"
#include "plugins/kolvessa/kolvessa/app_info.h"
#include "plugins/kolvessa/text.h"
#include "qiv_ejs.h"
#include "qiv_jansson.h"

namespace kolvessa {

class RuleMatchModel {
  public:
    void add_library(const std::string& tag, const std::string& document) {
        const JsonRef root(qiv_json_loads(document.c_str(), 0, nullptr));
        Category& top = tags_[tag];
        parse_node(json_member(root.get(), "apprule"), tag, top.children);
    }

    void build() { path_matcher_.build(); }

    void match_app_info(const AppInfo& info, std::vector<RuleElement>& matches) const {
        std::array<std::vector<uint32_t>, 7> candidates;
        collect(info.signer, 0, candidates);
        collect(info.productname, 1, candidates);
        collect(info.originalname, 2, candidates);
        collect(info.copyright, 3, candidates);
        collect(info.description, 4, candidates);
        collect(info.iconhash, 5, candidates);
        if (path_matcher_.has_patterns()) {
            if (char* path = orvu_str_unicode_to_utf8(info.procpath.c_str()); path != nullptr) {
                orvu_str_tolower(path);
                path_matcher_.search(path, candidates[6]);
                orvu_str_free(path);
            }
        }
        std::array<size_t, 7> cursors{};
        while (true) {
            std::map<int32_t, uint32_t> pass;  // element index to the mask of its hits
            int exhausted = 0;
            for (uint32_t kind = 0; kind < 7; ++kind) {
                if (cursors[kind] == candidates[kind].size()) {
                    ++exhausted;
                } else {
                    pass[static_cast<int32_t>(candidates[kind][cursors[kind]])] |= 1U << kind;
                }
            }
            if (exhausted == 7) {
                return;
            }
            const auto [index, mask] = *pass.begin();
            const RuleElement& element = elements_[static_cast<size_t>(index)];
            if (element.mask == mask) {
                matches.push_back(element);
            }
            for (uint32_t kind = 0; kind < 7; ++kind) {
                cursors[kind] += mask >> kind & 1;
            }
        }
    }

    size_t rule_count() const { return elements_.size(); }

    // All appids at and below a tag.
    std::vector<uint32_t> appids(const std::string& tag) const {
        std::vector<uint32_t> out;
        append(tags_.at(tag), out);
        return out;
    }

  private:
    struct Category {
        std::map<std::string, Category> children;
        std::vector<uint32_t> appids;
    };

    static void append(const Category& category, std::vector<uint32_t>& out) {
        out.insert(out.end(), category.appids.begin(), category.appids.end());
        for (const auto& [name, child] : category.children) {
            append(child, out);
        }
    }

    void parse_node(const json_t* node, const std::string& tag,
                    std::map<std::string, Category>& parent) {
        const char* name = json_member_string(node, "category");
        if (name == nullptr || parent.contains(name)) {
            return;
        }
        Category& category = parent[name];
        const json_t* rules = json_member(node, "rules");
        for (size_t i = 0; json_is_array(rules) && i < qiv_json_array_size(rules); ++i) {
            parse_rule(qiv_json_array_get(rules, i), tag, category);
        }
        const json_t* items = json_member(node, "item");
        for (size_t i = 0; json_is_array(items) && i < qiv_json_array_size(items); ++i) {
            parse_node(qiv_json_array_get(items, i), tag, category.children);
        }
    }

    void parse_rule(const json_t* rule, const std::string& tag, Category& category) {
        const auto appid = static_cast<uint32_t>(json_member_integer(rule, "appid"));
        const json_t* elements = json_member(rule, "elements");
        if (!json_is_array(elements) || !seen_.insert(appid).second) {
            return;
        }
        category.appids.push_back(appid);
        for (size_t i = 0; i < qiv_json_array_size(elements); ++i) {
            const json_t* source = qiv_json_array_get(elements, i);
            RuleElement element{appid, 0, json_member_integer(source, "inherit") == 1, tag};
            const auto index = static_cast<uint32_t>(elements_.size());
            for (uint32_t kind = 0; kind < 7; ++kind) {
                static constexpr const char* names[] = {"signer",    "productname", "originalname",
                                                        "copyright", "description", "iconhash",
                                                        "procpath"};
                const char* text = json_member_string(source, names[kind]);
                if (text == nullptr) {
                    continue;
                }
                element.mask |= 1U << kind;
                if (kind == 6) {
                    std::string lowered = text;
                    for (char& c : lowered) {
                        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
                    }
                    path_matcher_.add_pattern(lowered, index);
                } else if (orvu_wchar* wide = orvu_str_utf8_to_unicode(text); wide != nullptr) {
                    index_[kind][wide].push_back(index);
                    orvu_str_free(wide);
                }
            }
            elements_.push_back(element);
        }
    }

    void collect(const wide_string& value, uint32_t kind,
                 std::array<std::vector<uint32_t>, 7>& candidates) const {
        if (value.empty()) {
            return;
        }
        const auto found = index_[kind].find(wide_string(until_nul(value)));
        if (found != index_[kind].end()) {
            candidates[kind] = found->second;
        }
    }

    std::map<std::string, Category> tags_;
    std::set<uint32_t> seen_;
    std::vector<RuleElement> elements_;
    std::array<std::map<wide_string, std::vector<uint32_t>>, 6> index_;
    CAhoCorasick path_matcher_;
};

}  // namespace kolvessa

#endif  // TESTS_PLUGINS_KOLVESSA_APP_RULE_RULE_MATCH_MODEL_H
