#ifndef KOLVESSA_TEXT_H
#define KOLVESSA_TEXT_H

// The plug-in's text types. Wide text is UTF-16 in 16-bit units on every system; 8-bit text is
// UTF-8.

#include <string>
#include <string_view>

#include "orvu_types.h"

namespace kolvessa {

using wide_string = std::basic_string<orvu_wchar>;
using wide_view = std::basic_string_view<orvu_wchar>;

// The text up to its first NUL: what every reader of a counted value takes as the value.
inline wide_view until_nul(wide_view text) {
    const auto end = text.find(orvu_wchar{0});
    return end == wide_view::npos ? text : text.substr(0, end);
}

}  // namespace kolvessa

#endif  // KOLVESSA_TEXT_H
