// Any patterns and any text: the matcher finds what the literal form of its algorithm finds. The
// input is a text and patterns, parted by line ends, the text first.

#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "plugins/kolvessa/aho_corasick.h"
#include "tests/plugins/kolvessa/aho_corasick_model.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr size_t longest = 4096;
    constexpr uint64_t model_steps = 200'000;
    if (size > longest) {
        return 0;
    }
    std::vector<std::string> parts(1);
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == '\n') {
            parts.emplace_back();
        } else {
            parts.back().push_back(static_cast<char>(data[i]));
        }
    }
    kolvessa::CAhoCorasick matcher;
    kolvessa::testing::AhoCorasickModel model;
    for (uint32_t id = 1; id < parts.size(); ++id) {
        matcher.add_pattern(parts[id], id);
        model.add_pattern(parts[id], id);
    }
    matcher.build();
    model.build();
    const std::string text = parts[0].substr(0, parts[0].find('\0'));
    std::vector<uint32_t> found;
    matcher.search(text, found);
    std::set<uint32_t> expected;
    if (model.search(text, expected, model_steps) &&
        std::vector<uint32_t>(expected.begin(), expected.end()) != found) {
        std::abort();
    }
    return 0;
}
