#include "plugins/kolvessa/app_rule/rule_parser.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <utility>

#include "orvubase.h"
#include "plugins/kolvessa/app_rule/byte_hash.h"
#include "plugins/kolvessa/log.h"
#include "plugins/kolvessa/text.h"
#include "qiv_ejs.h"
#include "qiv_jansson.h"

namespace kolvessa {
namespace {

struct StringFree {
    void operator()(orvu_wchar* text) const noexcept { orvu_str_free(text); }
};

// The members of an element, by kind; "inherit" behind them.
constexpr size_t inherit_member = attribute_count;
using ElementMembers = std::array<const json_t*, attribute_count + 1>;

constexpr std::array<const char*, attribute_count + 1> member_names = {
    "signer",      "productname", "originalname", "copyright",
    "description", "iconhash",    "procpath",     "inherit"};

// The order in which the exact attributes are read.
constexpr std::array<AttributeKind, exact_attribute_count> reading_order = {
    AttributeKind::signer,       AttributeKind::copyright,   AttributeKind::productname,
    AttributeKind::originalname, AttributeKind::description, AttributeKind::iconhash};

// One pass over what the element has is cheaper than asking it for each name. What is no object has
// no members.
ElementMembers members_of(const json_t* element) {
    ElementMembers members{};
    auto* object = const_cast<json_t*>(element);  // Jansson's iteration changes nothing
    for (void* at = qiv_json_object_iter(object); at != nullptr;
         at = qiv_json_object_iter_next(object, at)) {
        const char* key = qiv_json_object_iter_key(at);
        for (size_t i = 0; i < member_names.size(); ++i) {
            if (key[0] == member_names[i][0] && std::strcmp(key, member_names[i]) == 0) {
                members[i] = qiv_json_object_iter_value(at);
                break;
            }
        }
    }
    return members;
}

// Only ASCII letters change, whatever the locale of the process.
char ascii_lower(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

void log_rule(const json_t* rule) {
    char* text = qiv_json_dumps(rule, 0);
    if (text == nullptr) {
        return;
    }
    KOLVESSA_LOG_DEBUG("appinfo_debug_signal: %s\n", text);
    json_malloc_t json_malloc = nullptr;
    json_free_t json_free = nullptr;
    qiv_json_get_alloc_funcs(&json_malloc, &json_free);
    json_free(text);
}

}  // namespace

RuleParser::RuleParser(RuleContent& content) : content_(content), converted_(converted_count) {}

int32_t RuleParser::load_library_json(const char* path, const std::string& tag) {
    KOLVESSA_LOG_INFO("start load rule library json[%s] tag[%s]\n", path, tag.c_str());
    const EjsRef document(qiv_json_load_file_ejs(path));
    if (!document) {
        return 1;
    }
    const auto library = content_.categories.insert(CategoryTree::root, tag);
    if (!library) {
        return 2;
    }
    content_.elements.start_library(tag);
    // What was converted belongs to the document before.
    std::fill(converted_.begin(), converted_.end(), Converted{});
    parse_rule_node(json_member(document.get(), "apprule"), tag, *library);
    return 0;
}

// A node's own rules come before its sub-categories, and those in document order with all below
// them. The open "item" arrays stand on a stack of our own, however deep they nest.
void RuleParser::parse_rule_node(const json_t* top, const std::string& tag,
                                 CategoryTree::Node parent) {
    struct Items {
        const json_t* array;
        size_t next;
        CategoryTree::Node category;
    };
    std::vector<Items> open;

    const auto enter = [&](const json_t* node, CategoryTree::Node above) {
        if (node == nullptr) {
            return;
        }
        const char* name = json_member_string(node, "category");
        if (name == nullptr) {
            KOLVESSA_LOG_WARN("rule node without category is left out, tag:%s \n", tag.c_str());
            return;
        }
        const auto category = content_.categories.insert(above, name);
        if (!category) {
            return;
        }
        parse_rules(json_member(node, "rules"), tag, *category);
        const json_t* items = json_member(node, "item");
        if (json_is_array(items)) {
            open.push_back({items, 0, *category});
        }
    };

    enter(top, parent);
    while (!open.empty()) {
        Items& items = open.back();
        if (items.next < qiv_json_array_size_ejs(items.array)) {
            enter(qiv_json_array_get_ejs(items.array, items.next++), items.category);
        } else {
            open.pop_back();
        }
    }
}

void RuleParser::parse_rules(const json_t* rules, const std::string& tag,
                             CategoryTree::Node category) {
    if (!json_is_array(rules)) {
        return;
    }
    const size_t count = qiv_json_array_size_ejs(rules);
    for (size_t i = 0; i < count; ++i) {
        const json_t* rule = qiv_json_array_get_ejs(rules, i);
        if (log::enabled(log::debug)) {
            log_rule(rule);
        }
        const auto appid = static_cast<uint32_t>(json_member_integer(rule, "appid"));
        const json_t* elements = json_member(rule, "elements");
        if (!json_is_array(elements)) {
            continue;
        }
        if (!seen_.insert(appid)) {
            KOLVESSA_LOG_WARN("Existing appid:%u,tag:%s \n", appid, tag.c_str());
            continue;
        }
        content_.categories.add_appid(category, appid);
        const size_t element_count = qiv_json_array_size_ejs(elements);
        for (size_t e = 0; e < element_count; ++e) {
            parse_element(qiv_json_array_get_ejs(elements, e), appid);
        }
    }
}

void RuleParser::parse_element(const json_t* element, uint32_t appid) {
    Draft draft;
    const ElementMembers members = members_of(element);
    for (const AttributeKind kind : reading_order) {
        parse_attribute_field(members[static_cast<uint32_t>(kind)], kind, draft);
    }
    parse_path_field(members[static_cast<uint32_t>(AttributeKind::procpath)], draft);
    const bool inherit = qiv_json_integer_value(members[inherit_member]) == 1;
    content_.elements.add(appid, draft.mask, inherit, draft.values);
}

void RuleParser::parse_attribute_field(const json_t* value, AttributeKind kind, Draft& draft) {
    const char* text = qiv_json_string_value_ejs(value);
    if (text == nullptr) {
        return;
    }
    draft.mask |= attribute_bit(kind);
    draft.values[static_cast<uint32_t>(kind)] = value_number(kind, text);
}

void RuleParser::parse_path_field(const json_t* value, Draft& draft) {
    const char* text = qiv_json_string_value_ejs(value);
    if (text == nullptr) {
        return;
    }
    lowered_ = text;
    std::transform(lowered_.begin(), lowered_.end(), lowered_.begin(), ascii_lower);
    draft.mask |= attribute_bit(AttributeKind::procpath);
    content_.path_matcher.add_pattern(lowered_, static_cast<uint32_t>(content_.elements.size()));
}

// Values that many elements share are converted once: the last one of each hash is remembered.
uint32_t RuleParser::value_number(AttributeKind kind, const char* text) {
    const size_t length = std::strlen(text);
    const size_t at = (byte_hash(text, length) + static_cast<size_t>(kind)) % converted_count;
    Converted& entry = converted_[at];
    if (entry.text == nullptr || entry.kind != kind || entry.length != length ||
        std::memcmp(entry.text, text, length) != 0) {
        entry = {text, length, kind, convert(kind, text)};
    }
    return entry.value;
}

// A value that the host refuses stays stated by its element, which no file can then have.
uint32_t RuleParser::convert(AttributeKind kind, const char* text) {
    const std::unique_ptr<orvu_wchar, StringFree> wide(orvu_str_utf8_to_unicode(text));
    if (!wide) {
        return ValueTable::unmatchable;
    }
    return content_.attribute_index.intern(kind, wide_view(wide.get()));
}

}  // namespace kolvessa
