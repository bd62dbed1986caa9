#include "bench/worst_paths.h"

#include <algorithm>
#include <chrono>
#include <string_view>

#include "bench/generators.h"
#include "plugins/kolvessa/aho_corasick.h"

namespace kolvessa::bench {

namespace {

std::string repeated(std::string_view part, size_t times) {
    std::string made;
    for (size_t i = 0; i < times; ++i) {
        made += part;
    }
    return made;
}

constexpr std::string_view kAlphabet = "aaab**";

std::string word(Random& random, uint32_t length) {
    std::string made(length, ' ');
    for (char& byte : made) {
        byte = kAlphabet[random.below(kAlphabet.size())];
    }
    return made;
}

std::string path_of(std::string text) {
    std::replace(text.begin(), text.end(), '*', 'a');
    return text;
}

void mutate(Random& random, WorstCase& worst, uint32_t patterns, uint32_t length) {
    const auto any = [&] {
        return random.below(static_cast<uint32_t>(worst.patterns.size()));
    };
    switch (random.below(4)) {
        case 0:
            worst.patterns[any()] = word(random, 1 + random.below(length));
            break;
        case 1:
            if (worst.patterns.size() < patterns) {
                worst.patterns.push_back(word(random, 1 + random.below(length)));
            }
            break;
        case 2:
            worst.path[random.below(kLongestPath)] = random.percent(50) ? 'a' : 'b';
            break;
        default: {
            const uint32_t part = 1 + random.below(20);
            worst.path.replace(random.below(kLongestPath - part), part,
                               path_of(word(random, part)));
        }
    }
}

}  // namespace

std::vector<WorstCase> known_worst_cases() {
    std::vector<WorstCase> all;
    all.push_back({"*b on a x 260", {"*b"}, std::string(kLongestPath, 'a')});
    all.push_back({"a*baba... on (ab) x 130",
                   {"a*" + repeated("ba", 60) + "c", "a*" + repeated("ba", 20) + "c"},
                   repeated("ab", kLongestPath / 2)});
    all.push_back({"\\*\\bin\\tool.exe on c: + \\bin x 60",
                   {"\\*\\bin\\tool.exe"},
                   "c:" + repeated("\\bin", 60)});
    return all;
}

double search_milliseconds(const WorstCase& worst, int rounds) {
    CAhoCorasick matcher;
    for (uint32_t id = 0; id < worst.patterns.size(); ++id) {
        matcher.add_pattern(worst.patterns[id], id);
    }
    matcher.build();
    double best = 0;
    for (int round = 0; round < rounds; ++round) {
        std::vector<uint32_t> found;
        const auto start = std::chrono::steady_clock::now();
        matcher.search(worst.path, found);
        const std::chrono::duration<double, std::milli> taken =
            std::chrono::steady_clock::now() - start;
        best = round == 0 ? taken.count() : std::min(best, taken.count());
    }
    return best;
}

WorstCase climb_to_worst_case(uint32_t seed, int tries, uint32_t patterns, uint32_t length) {
    Random random(seed);
    WorstCase top{"random search, up to " + std::to_string(patterns) + " patterns of up to " +
                      std::to_string(length),
                  {"*"},
                  std::string(kLongestPath, 'a')};
    double slowest = 0;
    for (int tried = 0; tried < tries; ++tried) {
        WorstCase next = top;
        if (tried % 3 == 0) {
            next.patterns.assign(1 + random.below(patterns), "");
            for (std::string& pattern : next.patterns) {
                pattern = word(random, 1 + random.below(length));
            }
            next.path = path_of(word(random, kLongestPath));
        } else {
            for (uint32_t changes = 1 + random.below(4); changes > 0; --changes) {
                mutate(random, next, patterns, length);
            }
        }
        const double taken = search_milliseconds(next, 3);
        if (taken > slowest) {
            slowest = taken;
            top = next;
        }
    }
    return top;
}

}  // namespace kolvessa::bench
