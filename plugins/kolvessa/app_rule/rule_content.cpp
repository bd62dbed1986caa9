#include "plugins/kolvessa/app_rule/rule_content.h"

#include <bit>
#include <stdexcept>
#include <utility>

namespace kolvessa {
namespace {

constexpr uint32_t exact_mask = (uint32_t{1} << exact_attribute_count) - 1;
constexpr uint8_t not_filed = UINT8_MAX;

// The kinds of the set bits, ascending, with the position of each among them.
template <typename Visit>
void for_each_kind(uint32_t mask, Visit visit) {
    size_t position = 0;
    for (uint32_t rest = mask & exact_mask; rest != 0; rest &= rest - 1) {
        visit(static_cast<size_t>(std::countr_zero(rest)), position++);
    }
}

// Whether an element can be met in the value tables: it states no path, and every value of it may
// be had by some file.
bool found_by_value(const StoredElement& element, std::span<const uint32_t> values) noexcept {
    if ((element.mask & attribute_bit(AttributeKind::procpath)) != 0 || values.empty()) {
        return false;
    }
    for (const uint32_t value : values) {
        if (value == ValueTable::unmatchable) {
            return false;
        }
    }
    return true;
}

}  // namespace

void ElementStore::add(uint32_t appid, uint32_t mask, bool inherit, const ExactValues& values) {
    if (elements_.size() >= UINT32_MAX || values_.size() > UINT32_MAX - exact_attribute_count) {
        throw std::length_error("too many rule elements");
    }
    const auto first = static_cast<uint32_t>(values_.size());
    for_each_kind(mask, [&](size_t kind, size_t) { values_.push_back(values[kind]); });
    elements_.push_back({appid, static_cast<uint32_t>(tags_.size() - 1), first,
                         static_cast<uint8_t>(mask), inherit});
}

std::span<const uint32_t> ElementStore::values_of(const StoredElement& element) const noexcept {
    return {values_.data() + element.first_value,
            static_cast<size_t>(std::popcount(element.mask & exact_mask))};
}

bool ElementStore::satisfied(const StoredElement& element, const ExactValues& file) const noexcept {
    const uint32_t* stated = values_.data() + element.first_value;
    for (uint32_t rest = element.mask & exact_mask; rest != 0; rest &= rest - 1) {
        if (*stated++ != file[static_cast<size_t>(std::countr_zero(rest))]) {
            return false;
        }
    }
    return true;
}

RuleElement ElementStore::record(const StoredElement& element) const {
    return {element.appid, element.mask, element.inherit, tags_[element.tag]};
}

void ElementStore::shrink() {
    elements_.shrink_to_fit();
    values_.shrink_to_fit();
}

void ElementStore::clear() noexcept {
    *this = ElementStore();
}

uint32_t AttributeIndex::find(AttributeKind kind, wide_view value) const noexcept {
    return tables_[static_cast<uint32_t>(kind)].find(value);
}

void AttributeIndex::build(const ElementStore& elements) {
    // How often each value is stated, by the elements that will be filed here.
    std::array<std::vector<uint32_t>, exact_attribute_count> stated;
    for (size_t kind = 0; kind < exact_attribute_count; ++kind) {
        stated[kind].resize(tables_[kind].size());
        starts_[kind].assign(tables_[kind].size() + 1, 0);
    }
    for (size_t index = 0; index < elements.size(); ++index) {
        const auto values = elements.values_of(elements[index]);
        if (found_by_value(elements[index], values)) {
            for_each_kind(elements[index].mask,
                          [&](size_t kind, size_t at) { ++stated[kind][values[at]]; });
        }
    }

    // The rarest of each element's values, and how many are filed under each.
    std::vector<uint8_t> rarest(elements.size(), not_filed);
    for (size_t index = 0; index < elements.size(); ++index) {
        const auto values = elements.values_of(elements[index]);
        if (!found_by_value(elements[index], values)) {
            continue;
        }
        uint32_t fewest = UINT32_MAX;
        uint32_t value = 0;
        for_each_kind(elements[index].mask, [&](size_t kind, size_t at) {
            if (stated[kind][values[at]] < fewest) {
                fewest = stated[kind][values[at]];
                value = values[at];
                rarest[index] = static_cast<uint8_t>(kind);
            }
        });
        ++starts_[rarest[index]][value];
    }

    // Counts become ends; filling from the last element down turns each end into its start and
    // leaves every list ascending.
    uint32_t end = 0;
    for (auto& starts : starts_) {
        for (uint32_t& start : starts) {
            end += start;
            start = end;
        }
    }
    filed_.resize(end);
    for (size_t index = elements.size(); index-- > 0;) {
        if (rarest[index] == not_filed) {
            continue;
        }
        const auto values = elements.values_of(elements[index]);
        for_each_kind(elements[index].mask, [&](size_t kind, size_t at) {
            if (kind == rarest[index]) {
                filed_[--starts_[kind][values[at]]] = static_cast<uint32_t>(index);
            }
        });
    }
    for (ValueTable& table : tables_) {
        table.shrink();
    }
}

std::span<const uint32_t> AttributeIndex::filed(AttributeKind kind, uint32_t value) const noexcept {
    const auto& starts = starts_[static_cast<uint32_t>(kind)];
    return {filed_.data() + starts[value], starts[value + 1] - starts[value]};
}

void AttributeIndex::clear() noexcept {
    *this = AttributeIndex();
}

void RuleContent::build() {
    elements.shrink();
    attribute_index.build(elements);
    path_matcher.build();
}

void RuleContent::clear() noexcept {
    elements.clear();
    attribute_index.clear();
    path_matcher.clear();
    categories.clear();
}

}  // namespace kolvessa
