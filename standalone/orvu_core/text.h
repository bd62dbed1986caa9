#ifndef ORVU_STANDALONE_ORVU_CORE_TEXT_H
#define ORVU_STANDALONE_ORVU_CORE_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

#include "orvu_types.h"

namespace orvu {

using wide_string = std::basic_string<orvu_wchar>;
using wide_view = std::basic_string_view<orvu_wchar>;

/* Conversions for showing: each invalid sequence or unpaired surrogate becomes U+FFFD, and a NUL
 * inside the text ends it. Pure functions. */
std::string clean_utf8(std::string_view bytes);
std::string show_utf8(wide_view text);

/* The length of a NUL-terminated wide text, or limit when there is no NUL within limit units. */
size_t wide_length(const orvu_wchar* text, size_t limit);

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_TEXT_H
