#include "standalone/orvu_core/codes.h"

#include <cstring>

namespace orvu {

namespace {

struct CodeText {
    const char* word;
    const char* text;
};

constexpr CodeText kTexts[] = {
    {"ok", "done"},
    {"not_found", "nothing is registered under that name"},
    {"bad_param", "the parameters fail the schema"},
    {"timed_out", "it was not finished in time"},
    {"no_answer", "the handler gave no answer"},
    {"queue_full", "too much is waiting there already"},
    {"invalid", "an argument can't be used"},
    {"would_block", "the calling thread would wait for itself"},
    {"owner_gone", "the thread behind it has ended"},
    {"no_memory", "memory ran out"},
    {"duplicate", "the name is taken"},
    {"limit", "a limit is reached"},
};

constexpr CodeText kUnknown = {"unknown", "an unknown code"};

const CodeText& entry(int32_t code) {
    return code >= 0 && static_cast<size_t>(code) < std::size(kTexts) ? kTexts[code] : kUnknown;
}

}  // namespace

const char* code_word(int32_t code) {
    return entry(code).word;
}

bool usable_name(const char* name) {
    return name != nullptr && name[0] != '\0' && strnlen(name, kMaxName + 1) <= kMaxName;
}

}  // namespace orvu

const char* orvu_host_code_text(int32_t code) {
    return orvu::entry(code).text;
}
