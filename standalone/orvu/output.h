#ifndef ORVU_PROGRAM_OUTPUT_H
#define ORVU_PROGRAM_OUTPUT_H

// What the program prints: lines on standard output, remarks and progress on standard error. Text
// that comes from a file or another process is made harmless for a terminal first. One thread.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orvu {

// The text with control characters, and bytes that are no UTF-8, replaced by U+FFFD.
std::string printable(std::string_view text);

// "101,205", or "-" when there is none.
std::string appid_list(const std::vector<uint32_t>& appids);

// Writes one line and passes it on at once. False when nobody reads any more: stop quietly.
bool print_line(std::string_view line);

// Writes "orvu: TEXT" to standard error.
void remark(std::string_view text);

// A line "VERB 120 of 4000" on standard error, rewritten in place while work goes on, "VERB 120"
// when the total is unknown (0). Says nothing unless standard error is a terminal, standard output
// isn't, and there may be much to do.
class Progress {
  public:
    Progress(std::string_view verb, size_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    void step();

  private:
    std::string verb_;
    size_t total_;
    size_t done_ = 0;
    bool shown_;
    bool written_ = false;
    int64_t last_ms_;
};

}  // namespace orvu

#endif  // ORVU_PROGRAM_OUTPUT_H
