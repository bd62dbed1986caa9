#ifndef KOLVESSA_APP_RULE_RULE_PARSER_H
#define KOLVESSA_APP_RULE_RULE_PARSER_H

// One re-parse: reads library files into a RuleContent, one after the other, and remembers across
// them which appids have been taken. Made for the re-parse and dropped after it; for one thread.
//
// Nothing below the file stops the parse: what is of the wrong type counts as absent, a rule
// without elements or with an appid that is taken is left out, and so is a category that has no
// name (with a line at warn) or one that its parent has already (silently), each with all below it.
// Nesting costs memory, not stack. An allocation that fails leaves by exception and the content
// half filled: clear it.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "plugins/kolvessa/app_rule/appid_set.h"
#include "plugins/kolvessa/app_rule/rule_content.h"
#include "plugins/kolvessa/json_ref.h"

namespace kolvessa {

class RuleParser {
  public:
    explicit RuleParser(RuleContent& content);

    // 0: parsed; 1: the file can't be opened; 2: the tag was read already, nothing is touched.
    int32_t load_library_json(const char* path, const std::string& tag);

  private:
    // An element under construction.
    struct Draft {
        uint32_t mask = 0;
        ExactValues values{};
    };

    // A value that was converted a short while ago. The text is the document's own.
    struct Converted {
        const char* text = nullptr;
        size_t length = 0;
        AttributeKind kind{};
        uint32_t value = 0;
    };
    static constexpr size_t converted_count = 2048;

    void parse_rule_node(const json_t* top, const std::string& tag, CategoryTree::Node parent);
    void parse_rules(const json_t* rules, const std::string& tag, CategoryTree::Node category);
    void parse_element(const json_t* element, uint32_t appid);
    void parse_attribute_field(const json_t* value, AttributeKind kind, Draft& draft);
    void parse_path_field(const json_t* value, Draft& draft);
    uint32_t value_number(AttributeKind kind, const char* text);
    uint32_t convert(AttributeKind kind, const char* text);

    RuleContent& content_;
    AppidSet seen_;
    std::vector<Converted> converted_;  // by the text's hash, the last one stays
    std::string lowered_;
};

}  // namespace kolvessa

#endif  // KOLVESSA_APP_RULE_RULE_PARSER_H
