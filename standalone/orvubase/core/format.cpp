#include "standalone/orvubase/core/format.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>
#include <type_traits>

#include "standalone/orvubase/core/utf.h"

namespace orvu {

namespace {

constexpr size_t FIELD_LIMIT = 65535;
constexpr char32_t REPLACEMENT = 0xFFFD;

// Counts every byte of the text and keeps those that fit.
class Sink {
  public:
    Sink(char* buffer, size_t size)
        : buffer_(buffer), capacity_(buffer != nullptr && size > 0 ? size - 1 : 0) {}

    void put(const char* bytes, size_t count) {
        if (length_ < capacity_ && count > 0) {
            std::memcpy(buffer_ + length_, bytes, std::min(count, capacity_ - length_));
        }
        length_ += count;
    }

    void fill(char byte, size_t count) {
        if (length_ < capacity_ && count > 0) {
            std::memset(buffer_ + length_, byte, std::min(count, capacity_ - length_));
        }
        length_ += count;
    }

    size_t finish(size_t size) {
        if (buffer_ != nullptr && size > 0) {
            const size_t kept = length_ <= capacity_
                                    ? length_
                                    : utf8_whole_prefix(std::string_view(buffer_, capacity_));
            buffer_[kept] = '\0';
        }
        return length_;
    }

  private:
    char* buffer_;
    size_t capacity_;  // without the NUL
    size_t length_ = 0;
};

enum class Length { NONE, CHAR, SHORT, LONG, LONG_LONG, SIZE, MAX, DIFFERENCE };

struct Spec {
    bool left = false;
    bool plus = false;
    bool space = false;
    bool zero = false;
    bool alternate = false;
    bool has_precision = false;
    size_t width = 0;
    size_t precision = 0;
    Length length = Length::NONE;
};

// A va_list that can be passed by reference on every system.
struct Arguments {
    std::va_list list;
};

size_t parse_number(const char*& at) {
    size_t number = 0;
    for (; *at >= '0' && *at <= '9'; ++at) {
        number = std::min(FIELD_LIMIT, number * 10 + static_cast<size_t>(*at - '0'));
    }
    return number;
}

void parse_flags(const char*& at, Spec& spec) {
    for (;; ++at) {
        switch (*at) {
            case '-':
                spec.left = true;
                break;
            case '+':
                spec.plus = true;
                break;
            case ' ':
                spec.space = true;
                break;
            case '0':
                spec.zero = true;
                break;
            case '#':
                spec.alternate = true;
                break;
            default:
                return;
        }
    }
}

void parse_width(const char*& at, Spec& spec, Arguments& arguments) {
    if (*at != '*') {
        spec.width = parse_number(at);
        return;
    }
    ++at;
    const int64_t width = va_arg(arguments.list, int);
    spec.left = spec.left || width < 0;
    spec.width = std::min(FIELD_LIMIT, static_cast<size_t>(width < 0 ? -width : width));
}

void parse_precision(const char*& at, Spec& spec, Arguments& arguments) {
    if (*at != '.') {
        return;
    }
    ++at;
    if (*at != '*') {
        spec.has_precision = true;
        spec.precision = parse_number(at);
        return;
    }
    ++at;
    const int precision = va_arg(arguments.list, int);
    spec.has_precision = precision >= 0;
    spec.precision = precision < 0 ? 0 : std::min(FIELD_LIMIT, static_cast<size_t>(precision));
}

Length parse_length(const char*& at) {
    switch (*at) {
        case 'h':
            ++at;
            if (*at != 'h') {
                return Length::SHORT;
            }
            ++at;
            return Length::CHAR;
        case 'l':
            ++at;
            if (*at != 'l') {
                return Length::LONG;
            }
            ++at;
            return Length::LONG_LONG;
        case 'I':
            if (at[1] == '6' && at[2] == '4') {
                at += 3;
                return Length::LONG_LONG;
            }
            return Length::NONE;
        case 'z':
            ++at;
            return Length::SIZE;
        case 'j':
            ++at;
            return Length::MAX;
        case 't':
            ++at;
            return Length::DIFFERENCE;
        default:
            return Length::NONE;
    }
}

int64_t signed_argument(Length length, Arguments& arguments) {
    switch (length) {
        case Length::CHAR:
            return static_cast<signed char>(va_arg(arguments.list, int));
        case Length::SHORT:
            return static_cast<int16_t>(va_arg(arguments.list, int));
        case Length::LONG:
            return va_arg(arguments.list, long);
        case Length::LONG_LONG:
            return va_arg(arguments.list, long long);
        // The same code on this system, but not on every one.
        // NOLINTNEXTLINE(bugprone-branch-clone)
        case Length::SIZE:
            return va_arg(arguments.list, std::make_signed_t<size_t>);
        case Length::MAX:
            return va_arg(arguments.list, intmax_t);
        case Length::DIFFERENCE:
            return va_arg(arguments.list, ptrdiff_t);
        case Length::NONE:
            break;
    }
    return va_arg(arguments.list, int);
}

uint64_t unsigned_argument(Length length, Arguments& arguments) {
    switch (length) {
        case Length::CHAR:
            return static_cast<unsigned char>(va_arg(arguments.list, unsigned int));
        case Length::SHORT:
            return static_cast<uint16_t>(va_arg(arguments.list, unsigned int));
        case Length::LONG:
            return va_arg(arguments.list, unsigned long);
        case Length::LONG_LONG:
            return va_arg(arguments.list, unsigned long long);
        // The same code on this system, but not on every one.
        // NOLINTNEXTLINE(bugprone-branch-clone)
        case Length::SIZE:
            return va_arg(arguments.list, size_t);
        case Length::MAX:
            return va_arg(arguments.list, uintmax_t);
        case Length::DIFFERENCE:
            return va_arg(arguments.list, std::make_unsigned_t<ptrdiff_t>);
        case Length::NONE:
            break;
    }
    return va_arg(arguments.list, unsigned int);
}

void put_padded(Sink& sink, const Spec& spec, std::string_view text) {
    const size_t padding = spec.width > text.size() ? spec.width - text.size() : 0;
    sink.fill(' ', spec.left ? 0 : padding);
    sink.put(text.data(), text.size());
    sink.fill(' ', spec.left ? padding : 0);
}

// `prefix` is the sign or "0x"; `base` is 8, 10 or 16.
void put_integer(Sink& sink, const Spec& spec, uint64_t value, std::string_view prefix,
                 unsigned int base, bool upper) {
    char digits[24];
    const char* alphabet = upper ? "0123456789ABCDEF" : "0123456789abcdef";
    size_t start = sizeof digits;
    for (uint64_t rest = value; rest != 0; rest /= base) {
        digits[--start] = alphabet[rest % base];
    }
    const size_t count = sizeof digits - start;
    size_t zeros = 0;
    if (spec.has_precision) {
        zeros = spec.precision > count ? spec.precision - count : 0;
    } else if (count == 0) {
        zeros = 1;
    }
    if (base == 8 && spec.alternate && zeros == 0) {
        zeros = 1;
    }
    size_t padding = prefix.size() + zeros + count;
    padding = spec.width > padding ? spec.width - padding : 0;
    if (spec.zero && !spec.left && !spec.has_precision) {
        zeros += padding;
        padding = 0;
    }
    sink.fill(' ', spec.left ? 0 : padding);
    sink.put(prefix.data(), prefix.size());
    sink.fill('0', zeros);
    sink.put(digits + start, count);
    sink.fill(' ', spec.left ? padding : 0);
}

void put_signed(Sink& sink, const Spec& spec, int64_t value) {
    std::string_view sign;
    if (value < 0) {
        sign = "-";
    } else if (spec.plus) {
        sign = "+";
    } else if (spec.space) {
        sign = " ";
    }
    // Negated as unsigned, so that the smallest value has a magnitude too.
    const auto bits = static_cast<uint64_t>(value);
    put_integer(sink, spec, value < 0 ? 0 - bits : bits, sign, 10, false);
}

void put_narrow(Sink& sink, const Spec& spec, const char* text) {
    if (text == nullptr) {
        put_padded(sink, spec, "(null)");
        return;
    }
    const size_t limit = spec.has_precision ? spec.precision : std::numeric_limits<size_t>::max();
    size_t length = 0;
    while (length < limit && text[length] != '\0') {
        ++length;
    }
    put_padded(sink, spec, std::string_view(text, length));
}

void put_wide(Sink& sink, const Spec& spec, const orvu_wchar* text) {
    if (text == nullptr) {
        put_padded(sink, spec, "(null)");
        return;
    }
    const size_t limit = spec.has_precision ? spec.precision : std::numeric_limits<size_t>::max();
    size_t units = 0;
    while (units < limit && text[units] != 0) {
        ++units;
    }
    const WStringView view(text, units);
    char bytes[4];
    size_t padding = 0;
    if (spec.width > 0) {
        size_t length = 0;
        for (size_t position = 0; position < view.size();) {
            length += utf8_put(wide_next(view, position).value_or(REPLACEMENT), bytes);
        }
        padding = spec.width > length ? spec.width - length : 0;
    }
    sink.fill(' ', spec.left ? 0 : padding);
    for (size_t position = 0; position < view.size();) {
        sink.put(bytes, utf8_put(wide_next(view, position).value_or(REPLACEMENT), bytes));
    }
    sink.fill(' ', spec.left ? padding : 0);
}

void put_unsigned(Sink& sink, const Spec& spec, char conversion, uint64_t value) {
    if (conversion == 'u') {
        put_integer(sink, spec, value, "", 10, false);
    } else if (conversion == 'o') {
        put_integer(sink, spec, value, "", 8, false);
    } else {
        const bool upper = conversion == 'X';
        std::string_view prefix;
        if (spec.alternate && value != 0) {
            prefix = upper ? "0X" : "0x";
        }
        put_integer(sink, spec, value, prefix, 16, upper);
    }
}

// False, with nothing written and nothing read, for a conversion that is not known.
bool put_conversion(Sink& sink, const Spec& spec, char conversion, Arguments& arguments) {
    switch (conversion) {
        case 'd':
        case 'i':
            put_signed(sink, spec, signed_argument(spec.length, arguments));
            return true;
        case 'u':
        case 'o':
        case 'x':
        case 'X':
            put_unsigned(sink, spec, conversion, unsigned_argument(spec.length, arguments));
            return true;
        case 'p':
            put_integer(sink, spec, reinterpret_cast<uintptr_t>(va_arg(arguments.list, void*)),
                        "0x", 16, false);
            return true;
        case 'c':
        case 'C':
            if (conversion == 'C' || spec.length == Length::LONG) {
                const orvu_wchar unit[2] = {static_cast<orvu_wchar>(va_arg(arguments.list, int)),
                                            0};
                put_wide(sink, spec, unit);
            } else {
                const char byte = static_cast<char>(va_arg(arguments.list, int));
                put_padded(sink, spec, std::string_view(&byte, 1));
            }
            return true;
        case 's':
        case 'S':
            if (conversion == 'S' || spec.length == Length::LONG) {
                put_wide(sink, spec, va_arg(arguments.list, const orvu_wchar*));
            } else {
                put_narrow(sink, spec, va_arg(arguments.list, const char*));
            }
            return true;
        case '%':
            sink.put("%", 1);
            return true;
        default:
            return false;
    }
}

}  // namespace

size_t format_bounded(char* buffer, size_t size, const char* format, std::va_list arguments) {
    Sink sink(buffer, size);
    if (format == nullptr) {
        return sink.finish(size);
    }
    Arguments copy;
    va_copy(copy.list, arguments);
    const char* at = format;
    for (;;) {
        const size_t plain = std::strcspn(at, "%");
        sink.put(at, plain);
        at += plain;
        if (*at == '\0') {
            break;
        }
        const char* const start = at++;
        Spec spec;
        parse_flags(at, spec);
        parse_width(at, spec, copy);
        parse_precision(at, spec, copy);
        spec.length = parse_length(at);
        if (*at == '\0' || !put_conversion(sink, spec, *at, copy)) {
            sink.put(start, std::strlen(start));
            break;
        }
        ++at;
    }
    va_end(copy.list);
    return sink.finish(size);
}

}  // namespace orvu
