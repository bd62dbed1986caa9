#ifndef ORVU_STANDALONE_ORVU_CORE_COMMAND_LINE_H
#define ORVU_STANDALONE_ORVU_CORE_COMMAND_LINE_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orvu {

constexpr size_t kMaxCommandWords = 64;

/* Splits a console line as orvu_host_console describes. False for an open quote or too many words;
 * an empty line gives no words and true. A pure function. */
bool split_command_line(std::string_view line, std::vector<std::string>* words);

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_COMMAND_LINE_H
