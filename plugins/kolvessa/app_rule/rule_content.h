#ifndef KOLVESSA_APP_RULE_RULE_CONTENT_H
#define KOLVESSA_APP_RULE_RULE_CONTENT_H

// What a parse of all libraries gives: the elements, the structures that find them, the category
// tree. Filled by RuleParser, then `build`, then read; const operations may run on several threads
// at once. On an exception while it is filled or built, `clear` it.
//
// An element's position is its only identity. Positions run in load order, and each element's exact
// attributes are kept as numbers of the value tables, so that checking an element against a file
// compares a few integers. An element is found in one way only: through its path pattern when it
// states one, else through the rarest value it states. So a value shared by half of all elements
// costs nothing where they state something rarer, and no element turns up twice.

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "plugins/kolvessa/aho_corasick.h"
#include "plugins/kolvessa/app_rule/category_tree.h"
#include "plugins/kolvessa/app_rule/rule_element.h"
#include "plugins/kolvessa/app_rule/value_table.h"

namespace kolvessa {

// One number for each exact kind: of the value that a file has, or that an element states.
using ExactValues = std::array<uint32_t, exact_attribute_count>;

// A RuleElement as it is kept.
struct StoredElement {
    uint32_t appid = 0;
    uint32_t tag = 0;          // index into ElementStore::tags
    uint32_t first_value = 0;  // index into ElementStore::values
    uint8_t mask = 0;
    bool inherit = false;
};

class ElementStore {
  public:
    size_t size() const noexcept { return elements_.size(); }
    const StoredElement& operator[](size_t index) const noexcept { return elements_[index]; }

    // Elements added from now on come from this library.
    void start_library(std::string tag) { tags_.push_back(std::move(tag)); }

    // Adds an element; of `values` those count whose bit stands in `mask`. Throws when memory is
    // out or an index no longer fits its 32 bits.
    void add(uint32_t appid, uint32_t mask, bool inherit, const ExactValues& values);

    // The numbers that an element states, in ascending order of their kinds.
    std::span<const uint32_t> values_of(const StoredElement& element) const noexcept;

    // Whether a file with these values has every exact attribute that the element states.
    bool satisfied(const StoredElement& element, const ExactValues& file) const noexcept;

    // The element as matching gives it.
    RuleElement record(const StoredElement& element) const;

    void shrink();
    void clear() noexcept;

  private:
    std::vector<StoredElement> elements_;
    std::vector<uint32_t> values_;
    std::vector<std::string> tags_;
};

// The elements that are found through a value, filed by kind and value.
class AttributeIndex {
  public:
    uint32_t intern(AttributeKind kind, wide_view value) { return table(kind).intern(value); }

    // ValueTable::absent when no element states this value.
    uint32_t find(AttributeKind kind, wide_view value) const noexcept;

    // Files each element that has no path pattern under the rarest of its values.
    void build(const ElementStore& elements);

    // What is filed under a value, ascending.
    std::span<const uint32_t> filed(AttributeKind kind, uint32_t value) const noexcept;

    void clear() noexcept;

  private:
    ValueTable& table(AttributeKind kind) { return tables_[static_cast<uint32_t>(kind)]; }

    std::array<ValueTable, exact_attribute_count> tables_;
    // The elements of value v of kind k are filed_[starts_[k][v]] up to filed_[starts_[k][v + 1]].
    std::array<std::vector<uint32_t>, exact_attribute_count> starts_;
    std::vector<uint32_t> filed_;
};

struct RuleContent {
    ElementStore elements;
    AttributeIndex attribute_index;
    CAhoCorasick path_matcher;  // the id of a pattern is its element's position
    CategoryTree categories;

    // Makes what was parsed ready to be matched.
    void build();
    void clear() noexcept;
};

}  // namespace kolvessa

#endif  // KOLVESSA_APP_RULE_RULE_CONTENT_H
