// The few host functions that the rule store needs, without a single allocation through operator
// new: what fails in a program that lets those fail is then the plug-in's own.

#include <cstdlib>
#include <cstring>

#include "orvubase.h"

namespace {

// ASCII text alone: enough for the values of the tests.
template <typename To, typename From>
To* convert(const From* text) {
    size_t length = 0;
    while (text[length] != 0) {
        ++length;
    }
    auto* result = static_cast<To*>(std::malloc((length + 1) * sizeof(To)));
    for (size_t i = 0; result != nullptr && i <= length; ++i) {
        result[i] = static_cast<To>(text[i]);
    }
    return result;
}

}  // namespace

int32_t orvu_log_is_regestered(void) {
    return 1;
}
int32_t orvu_log_dir(char*, uint32_t) {
    return 0;
}
int32_t orvu_process_get_path(uint32_t, char*, uint32_t) {
    return 1;
}
int32_t orvu_autolog_init(const char*, int32_t) {
    return 0;
}
int32_t orvu_log_level_get(void) {
    return 0;
}
int32_t orvu_log_output(int32_t, const char*, ...) {
    return 0;
}
int32_t orvu_str_snprintf(char*, size_t, const char*, ...) {
    return 0;
}

// Splits into the array's own block: the pointers first, the text behind them.
char** orvu_str_split(const char* text, const char* separator, uint32_t* count) {
    const size_t length = std::strlen(text);
    auto** tokens = static_cast<char**>(std::malloc((length + 2) * sizeof(char*) + length + 1));
    if (tokens == nullptr) {
        return nullptr;
    }
    char* at = reinterpret_cast<char*>(tokens + length + 2);
    std::memcpy(at, text, length + 1);
    *count = 0;
    for (char* token = at; token != nullptr;) {
        tokens[(*count)++] = token;
        token = std::strchr(token, *separator);
        if (token != nullptr) {
            *token++ = '\0';
        }
    }
    return tokens;
}
void orvu_str_split_free(char** array) {
    std::free(array);
}
char* orvu_str_tolower(char* text) {
    for (char* p = text; *p != '\0'; ++p) {
        *p = static_cast<char>(*p >= 'A' && *p <= 'Z' ? *p + 32 : *p);
    }
    return text;
}
orvu_wchar* orvu_str_utf8_to_unicode(const char* text) {
    return convert<orvu_wchar>(text);
}
char* orvu_str_unicode_to_utf8(const orvu_wchar* text) {
    return convert<char>(text);
}
void orvu_str_free(void* text) {
    std::free(text);
}

int64_t orvu_atomic64_add_and_fetch(volatile int64_t* value, int64_t addend) {
    const int64_t sum = *value + addend;
    *value = sum;
    return sum;
}
int32_t orvu_path_get_cur_proc_a(char* buffer, uint32_t) {
    buffer[0] = '\0';
    return 0;
}
int32_t orvu_path_directory(const char*, char* destination, uint32_t) {
    destination[0] = '\0';
    return 0;
}
void orvu_msleep(uint32_t) {}

// One thread: the word says who holds it.
void orvu_rwlock_init(orvu_rwlock* word) {
    *word = 0;
}
void orvu_rwlock_destroy(orvu_rwlock*) {}
void orvu_rwlock_exclusive_acquire(orvu_rwlock* word) {
    *word = 1;
}
void orvu_rwlock_shared_acquire(orvu_rwlock* word) {
    *word = 1;
}
int32_t orvu_rwlock_exclusive_try_acquire(orvu_rwlock* word) {
    const auto refused = static_cast<int32_t>(*word);
    *word = 1;
    return refused;
}
int32_t orvu_rwlock_shared_try_acquire(orvu_rwlock* word) {
    return orvu_rwlock_exclusive_try_acquire(word);
}
void orvu_rwlock_exclusive_release(orvu_rwlock* word) {
    *word = 0;
}
void orvu_rwlock_shared_release(orvu_rwlock* word) {
    *word = 0;
}
