#include "standalone/orvu/operands.h"

#include <algorithm>
#include <cstdio>

#include "standalone/orvu/system.h"

namespace orvu {

OperandSource::OperandSource(const std::vector<std::string>& operands) : operands_(operands) {
    if (std::find(operands.begin(), operands.end(), "-") == operands.end()) {
        known_count_ = operands.size();
    }
}

bool OperandSource::next(std::string& operand) {
    while (!interrupted()) {
        if (reading_input_) {
            if (next_line(operand)) {
                return true;
            }
            reading_input_ = false;
        }
        if (position_ == operands_.size()) {
            return false;
        }
        operand = operands_[position_++];
        if (operand != "-") {
            return true;
        }
        reading_input_ = true;
    }
    return false;
}

bool OperandSource::next_line(std::string& line) {
    line.clear();
    bool too_long = false;
    for (;;) {
        const int c = std::fgetc(stdin);
        if (c != EOF && c != '\n') {
            if (line.size() < longest_operand) {
                line.push_back(static_cast<char>(c));
            } else {
                too_long = true;
            }
            continue;
        }
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (too_long) {
            std::fprintf(stderr, "orvu: standard input: a line of more than %zu bytes is no path\n",
                         longest_operand);
        } else if (!line.empty()) {
            return true;
        }
        if (c == EOF || interrupted()) {
            return false;
        }
        line.clear();
        too_long = false;
    }
}

}  // namespace orvu
