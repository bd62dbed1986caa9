#include "standalone/orvu/output.h"

#include <chrono>
#include <cstdio>

#include "standalone/orvu/system.h"
#include "standalone/orvubase/core/utf.h"

namespace orvu {

namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";
constexpr size_t much_to_do = 20;
constexpr int64_t progress_interval_ms = 100;

int64_t now_ms() {
    const auto since = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(since).count();
}

// What a terminal could take as an order: C0 and C1 controls, and those that turn the reading
// order.
bool is_control(char32_t c) {
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || (c >= 0x202A && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069);
}

}  // namespace

std::string printable(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t position = 0; position < text.size();) {
        const size_t start = position;
        const auto character = utf8_next(text, position);
        if (!character || is_control(*character)) {
            out += replacement;
        } else {
            out += text.substr(start, position - start);
        }
    }
    return out;
}

std::string appid_list(const std::vector<uint32_t>& appids) {
    std::string out;
    for (const uint32_t appid : appids) {
        if (!out.empty()) {
            out += ',';
        }
        out += std::to_string(appid);
    }
    return out.empty() ? "-" : out;
}

bool print_line(std::string_view line) {
    return std::fwrite(line.data(), 1, line.size(), stdout) == line.size() &&
           std::fputc('\n', stdout) != EOF && std::fflush(stdout) == 0;
}

void remark(std::string_view text) {
    std::fprintf(stderr, "orvu: %.*s\n", static_cast<int>(text.size()), text.data());
}

Progress::Progress(std::string_view verb, size_t total)
    : verb_(verb),
      total_(total),
      shown_((total == 0 || total >= much_to_do) && is_terminal(Stream::error) &&
             !is_terminal(Stream::out)),
      last_ms_(now_ms()) {}

Progress::~Progress() {
    if (written_) {
        std::fputs("\r\x1b[K", stderr);
    }
}

void Progress::step() {
    ++done_;
    if (!shown_) {
        return;
    }
    const int64_t now = now_ms();
    if (now - last_ms_ >= progress_interval_ms) {
        last_ms_ = now;
        written_ = true;
        if (total_ == 0) {
            std::fprintf(stderr, "\r%s %zu", verb_.c_str(), done_);
        } else {
            std::fprintf(stderr, "\r%s %zu of %zu", verb_.c_str(), done_, total_);
        }
        std::fflush(stderr);
    }
}

}  // namespace orvu
