#include "standalone/qiv_ejs/last_error.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "standalone/qiv_ejs/qiv_ejs_host.h"

namespace orvu::ejs {
namespace {

struct record {
    int32_t kind;
    int32_t line;
    char text[1024];
};

thread_local record last;

}  // namespace

void clear_error() {
    last.kind = QIV_EJS_OK;
    last.line = 0;
    last.text[0] = '\0';
}

void set_error(int32_t kind, const char* path, int32_t line, const char* reason,
               const char* detail) {
    last.kind = kind;
    last.line = line;
    char place[16] = "";
    if (line > 0)
        (void)std::snprintf(place, sizeof place, ":%d", static_cast<int>(line));
    (void)std::snprintf(last.text, sizeof last.text, "%s%s: %s%s%s", path ? path : "(null)", place,
                        reason, detail ? ": " : "", detail ? detail : "");
    // One line, whatever a path or a quoted token holds.
    std::replace_if(
        last.text, last.text + std::strlen(last.text),
        [](char c) { return static_cast<unsigned char>(c) < 0x20; }, ' ');
}

}  // namespace orvu::ejs

int32_t qiv_ejs_last_error(char* buffer, size_t size, int32_t* line) {
    using orvu::ejs::last;
    if (buffer != nullptr && size > 0) {
        const size_t length = std::min(std::strlen(last.text), size - 1);
        std::memcpy(buffer, last.text, length);
        buffer[length] = '\0';
    }
    if (line != nullptr)
        *line = last.line;
    return last.kind;
}
