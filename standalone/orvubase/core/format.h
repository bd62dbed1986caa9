#ifndef ORVU_STANDALONE_ORVUBASE_CORE_FORMAT_H
#define ORVU_STANDALONE_ORVUBASE_CORE_FORMAT_H

// The framework's formatted print: the same bytes on every system, whatever the C library's
// habits, in particular 16-bit text under %S. Free of state, any thread, no exception, no heap.
//
//   conversions  d i u o x X c p s S C %
//   flags        - + space 0 #, width and precision as digits or *
//   lengths      hh h l ll z j t, and I64; %ls and %lc are %S and %C, %hs is %s
//
// %S takes a `const orvu_wchar*` and writes it as UTF-8, a lone surrogate as U+FFFD; its precision
// is the largest number of 16-bit units read, so that text without a NUL can be printed. %C takes
// one 16-bit unit. A null pointer under %s or %S prints "(null)". Width counts bytes. %p prints
// "0x" and hexadecimal digits. Width and precision are capped at 65535. A conversion that is not
// listed, %n among them, cannot tell the type of its argument: from there on the rest of the format
// is written as it stands and no further argument is read.

#include <cstdarg>
#include <cstddef>

namespace orvu {

// Writes at most `size` bytes, always with a NUL when `size` is not 0, and answers the length of
// the whole text without its NUL, so that an answer of `size` or more means that the text was cut.
// It is cut between characters, never inside a UTF-8 sequence. A null `buffer` counts as size 0; a
// null `format` writes an empty text and answers 0.
size_t format_bounded(char* buffer, size_t size, const char* format, std::va_list arguments);

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVUBASE_CORE_FORMAT_H
