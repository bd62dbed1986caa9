#ifndef ORVU_STANDALONE_ORVUBASE_RESULT_H
#define ORVU_STANDALONE_ORVUBASE_RESULT_H

// The result codes that liborvubase's calls share, and the two ends of every call that crosses the
// C boundary: no exception out, and no byte past a caller's buffer.

#include <cstdint>
#include <cstring>
#include <string_view>

namespace orvu {

enum Result : int32_t {
    RESULT_OK = 0,
    RESULT_ARGUMENT = 1,  // a null pointer, or a size of 0
    RESULT_SPACE = 2,     // does not fit into the caller's buffer
    RESULT_ABSENT = 3,    // no such process, file or folder, or the system refused
    RESULT_MEMORY = 4,
};

// Runs `body` and answers its result; `failure` when it throws, which is for want of memory.
template <typename Value, typename Body>
Value guarded(Value failure, Body body) noexcept {
    try {
        return body();
    } catch (...) {
        return failure;
    }
}

// What a call leaves in the caller's buffer unless it succeeds.
inline void clear_out(char* buffer, uint32_t size) {
    if (buffer != nullptr && size > 0) {
        buffer[0] = '\0';
    }
}

// Copies `text` with a NUL, or leaves an empty text when it does not fit.
inline int32_t copy_out(std::string_view text, char* buffer, uint32_t size) {
    if (buffer == nullptr || size == 0) {
        return RESULT_ARGUMENT;
    }
    if (text.size() >= size) {
        buffer[0] = '\0';
        return RESULT_SPACE;
    }
    std::memcpy(buffer, text.data(), text.size());
    buffer[text.size()] = '\0';
    return RESULT_OK;
}

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVUBASE_RESULT_H
