// orvubase.h without threads and locks, and sigcheck.h: log, strings, memory, paths, signers.

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstring>
#include <filesystem>

#include "standalone/orvubase/core/format.h"
#include "standalone/orvubase/core/path_map.h"
#include "standalone/orvubase/core/utf.h"
#include "tests/fakehost/fake_state.h"

namespace fakehost {
namespace {

using Guard = std::lock_guard<std::mutex>;

std::string format_text(const char* format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    const size_t length = orvu::format_bounded(nullptr, 0, format, arguments);
    std::string text(length + 1, '\0');
    orvu::format_bounded(text.data(), text.size(), format, again);
    va_end(again);
    text.resize(length);
    return text;
}

LogLine read_line(int32_t level, std::string text) {
    LogLine line;
    line.level = level;
    const size_t tag = text.find(" [nox] [");
    const size_t end = tag == std::string::npos ? tag : text.find("] ", tag + 7);
    if (end == std::string::npos) {
        line.message = text;
    } else {
        const size_t name = tag + 8;
        line.file = text.substr(name, text.find(':', name) - name);
        line.message = text.substr(end + 2);
    }
    line.text = std::move(text);
    return line;
}

// Copies `text` out; false when it does not fit, and then as much as fits.
bool copy_out(const std::string& text, char* buffer, uint32_t size) {
    if (buffer == nullptr || size == 0) {
        return false;
    }
    const size_t length = std::min<size_t>(text.size(), size - 1);
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
    return length == text.size();
}

bool refused(std::string_view text) {
    const Guard guard(state().mutex);
    return state().now.failing_texts.contains(text);
}

template <typename Char>
Char* text_block(const std::basic_string<Char>& text) {
    auto* block = static_cast<Char*>(new_block((text.size() + 1) * sizeof(Char), BlockKind::text));
    if (block != nullptr) {
        std::memcpy(block, text.c_str(), (text.size() + 1) * sizeof(Char));
    }
    return block;
}

orvu_wchar* widened(const char* name, const char* text) {
    if (note_quiet(name) != 0 || text == nullptr || refused(text)) {
        return nullptr;
    }
    const auto result = orvu::utf8_to_wide(text);
    return result ? text_block(*result) : nullptr;
}

}  // namespace

wide_string wide(std::string_view utf8) {
    wide_string result;
    for (size_t position = 0; position < utf8.size();) {
        const char32_t c = orvu::utf8_next(utf8, position).value_or(0xFFFD);
        if (c >= 0x10000) {
            result.push_back(static_cast<orvu_wchar>(0xD800 + ((c - 0x10000) >> 10)));
            result.push_back(static_cast<orvu_wchar>(0xDC00 + ((c - 0x10000) & 0x3FF)));
        } else {
            result.push_back(static_cast<orvu_wchar>(c));
        }
    }
    return result;
}

std::string narrow(const wide_string& text) {
    return orvu::wide_to_utf8_lossy(text);
}

std::string narrow_view(const orvu_wchar* text) {
    return text == nullptr ? std::string() : orvu::wide_to_utf8_lossy(text);
}

void FakeHost::set_home(const std::string& native_folder) {
    std::string home = orvu::path_from_native(native_folder);
    while (!home.empty() && (home.back() == '\\' || home.back() == '/')) {
        home.pop_back();
    }
    const Guard guard(state_->mutex);
    state_->now.home = home;
}

}  // namespace fakehost

using fakehost::BlockKind;
using fakehost::note;
using fakehost::note_quiet;
using fakehost::state;
using Guard = std::lock_guard<std::mutex>;

int32_t orvu_log_is_regestered() {
    note_quiet("orvu_log_is_regestered");
    const Guard guard(state().mutex);
    return state().now.log_registered ? 1 : 0;
}

int32_t orvu_log_dir(char* buffer, uint32_t size) {
    note_quiet("orvu_log_dir");
    const Guard guard(state().mutex);
    if (state().now.log_dir.empty()) {
        return 0;
    }
    fakehost::copy_out(state().now.log_dir, buffer, size);
    return 1;
}

int32_t orvu_process_get_path(uint32_t /*pid*/, char* buffer, uint32_t size) {
    if (const int64_t fault = note_quiet("orvu_process_get_path"); fault != 0) {
        return static_cast<int32_t>(fault);
    }
    const Guard guard(state().mutex);
    return fakehost::copy_out(state().now.program_path, buffer, size) ? 0 : 1;
}

int32_t orvu_autolog_init(const char* directory, int32_t count) {
    const int64_t fault = note_quiet("orvu_autolog_init");
    const Guard guard(state().mutex);
    state().now.autologs.push_back(std::string(directory) + ", " + std::to_string(count));
    state().now.log_registered = fault == 0;
    return static_cast<int32_t>(fault);
}

int32_t orvu_log_level_get() {
    note_quiet("orvu_log_level_get");
    const Guard guard(state().mutex);
    return state().now.log_level;
}

int32_t orvu_log_output(int32_t level, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    fakehost::LogLine line = fakehost::read_line(level, fakehost::format_text(format, arguments));
    va_end(arguments);
    const int64_t fault = note_quiet("orvu_log_output");
    const Guard guard(state().mutex);
    state().now.log_lines.push_back(std::move(line));
    return static_cast<int32_t>(fault);
}

int32_t orvu_str_snprintf(char* buffer, size_t size, const char* format, ...) {
    note_quiet("orvu_str_snprintf");
    std::va_list arguments;
    va_start(arguments, format);
    const size_t length = orvu::format_bounded(buffer, size, format, arguments);
    va_end(arguments);
    return static_cast<int32_t>(length);
}

int32_t orvu_strcmp(const char* a, const char* b) {
    note_quiet("orvu_strcmp");
    return std::strcmp(a, b);
}

char** orvu_str_split(const char* text, const char* separator, uint32_t* count) {
    if (note_quiet("orvu_str_split") != 0 || text == nullptr || separator == nullptr ||
        *separator == '\0' || count == nullptr) {
        return nullptr;
    }
    std::vector<std::string> tokens;
    const std::string whole = text;
    const std::string cut = separator;
    for (size_t start = 0; start <= whole.size();) {
        const size_t end = std::min(whole.find(cut, start), whole.size());
        if (end != start) {
            tokens.push_back(whole.substr(start, end - start));
        }
        start = end + cut.size();
    }
    *count = static_cast<uint32_t>(tokens.size());
    size_t bytes = (tokens.size() + 1) * sizeof(char*);
    for (const std::string& token : tokens) {
        bytes += token.size() + 1;
    }
    auto* array = static_cast<char**>(fakehost::new_block(bytes, BlockKind::split));
    if (array == nullptr) {
        return nullptr;
    }
    char* place = reinterpret_cast<char*>(array + tokens.size() + 1);
    for (size_t i = 0; i < tokens.size(); ++i) {
        array[i] = place;
        std::memcpy(place, tokens[i].c_str(), tokens[i].size() + 1);
        place += tokens[i].size() + 1;
    }
    return array;
}

void orvu_str_split_free(char** array) {
    note_quiet("orvu_str_split_free");
    fakehost::free_block(static_cast<void*>(array), BlockKind::split, "orvu_str_split_free");
}

char* orvu_str_tolower(char* text) {
    note_quiet("orvu_str_tolower");
    for (char* p = text; p != nullptr && *p != '\0'; ++p) {
        *p = static_cast<char>(std::tolower(static_cast<unsigned char>(*p)));
    }
    return text;
}

// The fake's system code page is UTF-8.
char* orvu_str_utf8_to_ansi(const char* text) {
    if (note_quiet("orvu_str_utf8_to_ansi") != 0 || text == nullptr || fakehost::refused(text) ||
        !orvu::utf8_is_valid(text)) {
        return nullptr;
    }
    return fakehost::text_block(std::string(text));
}

orvu_wchar* orvu_str_utf8_to_unicode(const char* text) {
    return fakehost::widened("orvu_str_utf8_to_unicode", text);
}

orvu_wchar* orvu_str_ansi_to_unicode(const char* text) {
    return fakehost::widened("orvu_str_ansi_to_unicode", text);
}

char* orvu_str_unicode_to_utf8(const orvu_wchar* text) {
    if (note_quiet("orvu_str_unicode_to_utf8") != 0 || text == nullptr) {
        return nullptr;
    }
    const auto result = orvu::wide_to_utf8(text);
    return result && !fakehost::refused(*result) ? fakehost::text_block(*result) : nullptr;
}

void orvu_str_free(void* text) {
    note_quiet("orvu_str_free");
    fakehost::free_block(text, BlockKind::text, "orvu_str_free");
}

orvu_wchar* orvu_wcsrchr(const orvu_wchar* text, orvu_wchar c) {
    note_quiet("orvu_wcsrchr");
    const orvu_wchar* last = nullptr;
    for (const orvu_wchar* p = text;; ++p) {
        if (*p == c) {
            last = p;
        }
        if (*p == 0) {
            return const_cast<orvu_wchar*>(last);
        }
    }
}

size_t orvu_wcslcpy(orvu_wchar* destination, const orvu_wchar* source, size_t capacity) {
    note_quiet("orvu_wcslcpy");
    const size_t length = std::char_traits<orvu_wchar>::length(source);
    if (capacity != 0) {
        const size_t copied = std::min(length, capacity - 1);
        std::memcpy(destination, source, copied * sizeof(orvu_wchar));
        destination[copied] = 0;
    }
    return length;
}

void* orvu_malloc_(size_t size) {
    return note_quiet("orvu_malloc_") != 0 ? nullptr : fakehost::new_block(size, BlockKind::memory);
}

void* orvu_zero_malloc_(size_t size) {
    return note_quiet("orvu_zero_malloc_") != 0 ? nullptr
                                                : fakehost::new_block(size, BlockKind::memory);
}

void orvu_free_(void* block) {
    note_quiet("orvu_free_");
    fakehost::free_block(block, BlockKind::memory, "orvu_free_");
}

int64_t orvu_atomic64_add_and_fetch(volatile int64_t* value, int64_t addend) {
    note_quiet("orvu_atomic64_add_and_fetch");
    return __atomic_add_fetch(value, addend, __ATOMIC_SEQ_CST);
}

int32_t orvu_path_get_cur_proc_a(char* buffer, uint32_t size) {
    if (const int64_t fault = note_quiet("orvu_path_get_cur_proc_a"); fault != 0) {
        return static_cast<int32_t>(fault);
    }
    const Guard guard(state().mutex);
    return fakehost::copy_out(state().now.home + "\\bin\\orvu", buffer, size) ? 0 : 1;
}

int32_t orvu_path_directory(const char* source, char* destination, uint32_t size) {
    if (const int64_t fault = note_quiet("orvu_path_directory"); fault != 0) {
        return static_cast<int32_t>(fault);
    }
    const std::string path = source;
    const size_t end = path.find_last_of("\\/");
    return fakehost::copy_out(end == std::string::npos ? std::string() : path.substr(0, end),
                              destination, size)
               ? 0
               : 1;
}

int32_t orvu_path_is_exist_u(const char* path) {
    note_quiet("orvu_path_is_exist_u");
    return path != nullptr && orvu::path_find(path).has_value() ? 1 : 0;
}

int32_t orvu_dirutils_path_transform(const char* path, char* buffer, uint32_t size) {
    if (const int64_t fault = note("orvu_dirutils_path_transform", path); fault != 0) {
        return static_cast<int32_t>(fault);
    }
    std::string text = path;
    const Guard guard(state().mutex);
    if (!text.empty() && text.front() == '@') {
        text = state().now.home + "\\bin" + text.substr(1);
    }
    return fakehost::copy_out(text, buffer, size) ? 0 : 1;
}

int32_t orvu_dirutils_mkdir(const char* path, int32_t mode) {
    if (const int64_t fault =
            note("orvu_dirutils_mkdir", std::string(path) + ", " + std::to_string(mode));
        fault != 0) {
        return static_cast<int32_t>(fault);
    }
    const auto native = orvu::path_resolve(path);
    if (!native) {
        return 1;
    }
    std::error_code error;
    std::filesystem::create_directories(
        std::filesystem::path(std::u8string(native->begin(), native->end())), error);
    return error ? 1 : 0;
}

int32_t qiv_get_file_sign_w(const orvu_wchar* path, orvu_wchar* buffer, uint32_t capacity) {
    const std::string text = fakehost::narrow_view(path);
    if (const int64_t fault = note("qiv_get_file_sign_w", text + ", " + std::to_string(capacity));
        fault != 0) {
        return static_cast<int32_t>(fault);
    }
    const Guard guard(state().mutex);
    const auto found = state().now.signers.find(text);
    if (found == state().now.signers.end()) {
        return 1;
    }
    const fakehost::wide_string name = fakehost::wide(found->second);
    if (name.size() >= capacity) {
        return 2;
    }
    std::memcpy(buffer, name.c_str(), (name.size() + 1) * sizeof(orvu_wchar));
    return 0;
}
