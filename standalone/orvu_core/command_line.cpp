#include "standalone/orvu_core/command_line.h"

#include <utility>

namespace orvu {

bool split_command_line(std::string_view line, std::vector<std::string>* words) {
    words->clear();
    std::string word;
    bool in_word = false;
    bool quoted = false;
    for (size_t at = 0; at < line.size(); ++at) {
        const char c = line[at];
        const char next = at + 1 < line.size() ? line[at + 1] : '\0';
        if (c == '\\' && (next == '"' || next == '\\')) {
            word.push_back(next);
            in_word = true;
            ++at;
        } else if (c == '"') {
            quoted = !quoted;
            in_word = true;
        } else if (!quoted && (c == ' ' || c == '\t')) {
            if (in_word) {
                words->push_back(std::exchange(word, {}));
            }
            in_word = false;
        } else {
            word.push_back(c);
            in_word = true;
        }
        if (words->size() > kMaxCommandWords) {
            return false;
        }
    }
    if (in_word) {
        words->push_back(std::move(word));
    }
    return !quoted && words->size() <= kMaxCommandWords;
}

}  // namespace orvu
