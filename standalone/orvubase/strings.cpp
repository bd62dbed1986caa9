// Strings and memory as the framework hands them out. Everything comes from the C allocator of this
// library and goes back to it.

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orvubase.h"
#include "standalone/orvubase/core/format.h"
#include "standalone/orvubase/core/utf.h"
#include "standalone/orvubase/result.h"

namespace {

// A copy with a NUL from the C allocator, or null.
template <typename Unit>
Unit* new_text(const std::optional<std::basic_string<Unit>>& text) {
    if (!text) {
        return nullptr;
    }
    const size_t bytes = (text->size() + 1) * sizeof(Unit);
    auto* copy = static_cast<Unit*>(std::malloc(bytes));
    if (copy != nullptr) {
        std::memcpy(copy, text->c_str(), bytes);
    }
    return copy;
}

// The segments that are not empty.
std::vector<std::string_view> segments(std::string_view text, std::string_view separator) {
    std::vector<std::string_view> found;
    while (!text.empty()) {
        const size_t end = std::min(text.find(separator), text.size());
        if (end > 0) {
            found.push_back(text.substr(0, end));
        }
        text.remove_prefix(std::min(end + separator.size(), text.size()));
    }
    return found;
}

// One block: the pointers, a null pointer, then the texts.
char** new_array(const std::vector<std::string_view>& texts) {
    size_t bytes = (texts.size() + 1) * sizeof(char*);
    const size_t first = bytes;
    for (const std::string_view text : texts) {
        bytes += text.size() + 1;
    }
    auto* array = static_cast<char**>(std::malloc(bytes));
    if (array == nullptr) {
        return nullptr;
    }
    char* at = reinterpret_cast<char*>(array) + first;
    for (size_t i = 0; i < texts.size(); ++i) {
        array[i] = at;
        std::memcpy(at, texts[i].data(), texts[i].size());
        at[texts[i].size()] = '\0';
        at += texts[i].size() + 1;
    }
    array[texts.size()] = nullptr;
    return array;
}

}  // namespace

int32_t orvu_str_snprintf(char* buffer, size_t size, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const size_t length = orvu::format_bounded(buffer, size, format, arguments);
    va_end(arguments);
    constexpr size_t LARGEST = std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(std::min(length, LARGEST));
}

int32_t orvu_strcmp(const char* a, const char* b) {
    if (a == nullptr || b == nullptr) {
        return (a != nullptr ? 1 : 0) - (b != nullptr ? 1 : 0);
    }
    const int order = std::strcmp(a, b);
    return (order > 0 ? 1 : 0) - (order < 0 ? 1 : 0);
}

char** orvu_str_split(const char* text, const char* separator, uint32_t* count) {
    if (count != nullptr) {
        *count = 0;
    }
    return orvu::guarded<char**>(nullptr, [&]() -> char** {
        if (text == nullptr || separator == nullptr || separator[0] == '\0') {
            return nullptr;
        }
        const std::vector<std::string_view> found = segments(text, separator);
        if (found.empty() || found.size() > std::numeric_limits<uint32_t>::max()) {
            return nullptr;
        }
        char** array = new_array(found);
        if (array != nullptr && count != nullptr) {
            *count = static_cast<uint32_t>(found.size());
        }
        return array;
    });
}

void orvu_str_split_free(char** array) {
    std::free(static_cast<void*>(array));
}

char* orvu_str_tolower(char* text) {
    for (char* at = text; at != nullptr && *at != '\0'; ++at) {
        if (*at >= 'A' && *at <= 'Z') {
            *at = static_cast<char>(*at + ('a' - 'A'));
        }
    }
    return text;
}

// The 8-bit code page of this host is UTF-8 on every system, so these two only check.
char* orvu_str_utf8_to_ansi(const char* text) {
    return orvu::guarded<char*>(nullptr, [&]() -> char* {
        if (text == nullptr || !orvu::utf8_is_valid(text)) {
            return nullptr;
        }
        return new_text<char>(std::string(text));
    });
}

orvu_wchar* orvu_str_ansi_to_unicode(const char* text) {
    return orvu_str_utf8_to_unicode(text);
}

orvu_wchar* orvu_str_utf8_to_unicode(const char* text) {
    return orvu::guarded<orvu_wchar*>(nullptr, [&]() -> orvu_wchar* {
        return text == nullptr ? nullptr : new_text<orvu_wchar>(orvu::utf8_to_wide(text));
    });
}

char* orvu_str_unicode_to_utf8(const orvu_wchar* text) {
    return orvu::guarded<char*>(nullptr, [&]() -> char* {
        return text == nullptr ? nullptr : new_text<char>(orvu::wide_to_utf8(text));
    });
}

void orvu_str_free(void* text) {
    std::free(text);
}

orvu_wchar* orvu_wcsrchr(const orvu_wchar* text, orvu_wchar c) {
    const orvu_wchar* last = nullptr;
    for (const orvu_wchar* at = text; at != nullptr; ++at) {
        if (*at == c) {
            last = at;
        }
        if (*at == 0) {
            break;
        }
    }
    return const_cast<orvu_wchar*>(last);
}

size_t orvu_wcslcpy(orvu_wchar* destination, const orvu_wchar* source, size_t capacity) {
    const orvu::WStringView text = source == nullptr ? orvu::WStringView() : source;
    if (destination != nullptr && capacity > 0) {
        const size_t kept = std::min(text.size(), capacity - 1);
        if (kept > 0) {
            // The two may overlap when a caller shifts a text within its own buffer.
            std::memmove(destination, text.data(), kept * sizeof(orvu_wchar));
        }
        destination[kept] = 0;
    }
    return text.size();
}

void* orvu_malloc_(size_t size) {
    return std::malloc(std::max<size_t>(size, 1));
}

void* orvu_zero_malloc_(size_t size) {
    return std::calloc(std::max<size_t>(size, 1), 1);
}

void orvu_free_(void* block) {
    std::free(block);
}

int64_t orvu_atomic64_add_and_fetch(volatile int64_t* value, int64_t addend) {
    return value == nullptr ? 0 : __atomic_add_fetch(value, addend, __ATOMIC_ACQ_REL);
}
