#ifndef ORVU_PROGRAM_OPERANDS_H
#define ORVU_PROGRAM_OPERANDS_H

// The operands of a command one after the other, "-" standing for the lines of standard input,
// which are taken as they come. One thread.

#include <cstddef>
#include <string>
#include <vector>

namespace orvu {

// A line longer than this is no path of any system; it is skipped with a message.
inline constexpr size_t longest_operand = 32 * 1024;

class OperandSource {
  public:
    explicit OperandSource(const std::vector<std::string>& operands);

    // The next operand; false at the end, or when the program was asked to stop.
    bool next(std::string& operand);

    // How many there are, 0 when standard input makes that unknown.
    size_t known_count() const { return known_count_; }

  private:
    bool next_line(std::string& line);

    const std::vector<std::string>& operands_;
    size_t position_ = 0;
    size_t known_count_ = 0;
    bool reading_input_ = false;
};

}  // namespace orvu

#endif  // ORVU_PROGRAM_OPERANDS_H
