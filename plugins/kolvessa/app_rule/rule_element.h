#ifndef KOLVESSA_APP_RULE_RULE_ELEMENT_H
#define KOLVESSA_APP_RULE_RULE_ELEMENT_H

// What a rule tests, and one alternative of a rule: the record that matching returns.

#include <cstdint>
#include <string>

namespace kolvessa {

// A bit position in RuleElement::mask and an index; the order is fixed.
enum class AttributeKind : uint32_t {
    signer = 0,
    productname = 1,
    originalname = 2,
    copyright = 3,
    description = 4,
    iconhash = 5,
    procpath = 6,
};
inline constexpr uint32_t exact_attribute_count = 6;  // the kinds compared as whole strings
inline constexpr uint32_t attribute_count = 7;

inline constexpr uint32_t attribute_bit(AttributeKind kind) {
    return uint32_t{1} << static_cast<uint32_t>(kind);
}

// One alternative of one rule. It matches a file only when every set bit of `mask` is satisfied.
struct RuleElement {
    uint32_t appid = 0;
    uint32_t mask = 0;
    bool inherit = false;  // children of a matching process may take the appid over
    std::string tag;       // the library that the element came from
};

}  // namespace kolvessa

#endif  // KOLVESSA_APP_RULE_RULE_ELEMENT_H
