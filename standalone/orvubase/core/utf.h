#ifndef ORVU_STANDALONE_ORVUBASE_CORE_UTF_H
#define ORVU_STANDALONE_ORVUBASE_CORE_UTF_H

// Conversion between UTF-8 and the framework's 16-bit text. The strict forms refuse whatever is not
// well formed (overlong sequences, encoded or lone surrogates, values past U+10FFFF, truncated
// sequences) by answering nothing, so that no two byte strings ever stand for the same name; the
// lossy form is for what people read. All are free of state and may be called from any thread; the
// only exception is std::bad_alloc.

#include <optional>
#include <string>
#include <string_view>

#include "orvu_types.h"

namespace orvu {

using WString = std::basic_string<orvu_wchar>;
using WStringView = std::basic_string_view<orvu_wchar>;

// Decodes the character at `position` of well-formed or malformed UTF-8 and moves `position` past
// it. A malformed sequence gives nothing and moves by one byte, a position at the end gives nothing
// and moves nowhere.
std::optional<char32_t> utf8_next(std::string_view text, size_t& position);

// The same for 16-bit text: a lone surrogate gives nothing and moves by one unit.
std::optional<char32_t> wide_next(WStringView text, size_t& position);

// Writes `character`, which must be a Unicode scalar value, as UTF-8 and answers the 1 to 4 bytes.
size_t utf8_put(char32_t character, char out[4]);

bool utf8_is_valid(std::string_view text);

// Nothing when the input is not well formed. Embedded NULs are characters like others.
std::optional<WString> utf8_to_wide(std::string_view text);
std::optional<std::string> wide_to_utf8(WStringView text);

// Never refuses: each lone surrogate becomes U+FFFD.
std::string wide_to_utf8_lossy(WStringView text);

// The length of `text` without a UTF-8 sequence that its end cuts off; malformed bytes elsewhere
// count as they are.
size_t utf8_whole_prefix(std::string_view text);

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVUBASE_CORE_UTF_H
