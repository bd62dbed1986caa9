#ifndef BENCH_WORST_PATHS_H
#define BENCH_WORST_PATHS_H

// Pattern sets and paths of 260 characters that are made to cost the matcher as much as possible.

#include <cstdint>
#include <string>
#include <vector>

namespace kolvessa::bench {

inline constexpr size_t kLongestPath = 260;

struct WorstCase {
    std::string name;
    std::vector<std::string> patterns;
    std::string path;
};

// The ones that are known to make a recursive walk exponential.
std::vector<WorstCase> known_worst_cases();

// The costliest that a seeded climb of `tries` steps finds, with at most `patterns` patterns of at
// most `length` bytes.
WorstCase climb_to_worst_case(uint32_t seed, int tries, uint32_t patterns, uint32_t length);

// The best of `rounds` searches, in milliseconds.
double search_milliseconds(const WorstCase& worst, int rounds);

}  // namespace kolvessa::bench

#endif  // BENCH_WORST_PATHS_H
