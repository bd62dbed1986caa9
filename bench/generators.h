#ifndef BENCH_GENERATORS_H
#define BENCH_GENERATORS_H

// Seeded input for the benchmarks: the same arguments give the same data on every machine, since
// nothing here depends on the library's distributions. None of it is meant for more than one
// thread.

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <random>
#include <string>
#include <vector>

namespace kolvessa::bench {

class Random {
  public:
    explicit Random(uint32_t seed) : engine_(seed) {}
    uint32_t below(uint32_t limit) { return static_cast<uint32_t>(engine_() % limit); }
    bool percent(uint32_t share) { return below(100) < share; }

  private:
    std::mt19937 engine_;
};

struct PatternShape {
    uint32_t inner_wildcard_percent = 20;
    uint32_t leading_wildcard_percent = 5;
};

// Distinct lower-case path patterns of 20 to 60 bytes; a wildcard stands for a folder, or for what
// precedes the first one.
std::vector<std::string> path_patterns(size_t count, uint32_t seed, PatternShape shape = {});

// Lower-case paths of 40 to 200 bytes. A third are made around one of `patterns`, its wildcards
// filled, so that about that many are found; the rest are made from the same folders and names.
// Some of `patterns`, when there are any, must be long enough for that.
std::vector<std::string> paths(size_t count, uint32_t seed,
                               const std::vector<std::string>& patterns);

// A rule library as JSON with `elements` elements, four to a rule, a rule to an appid. Half of the
// elements state the same signer; a fifth state a path. Writes nothing but ASCII.
void write_rule_library(std::ostream& out, size_t elements, uint32_t seed);

// The signer that half of the elements of write_rule_library state.
std::string shared_signer();

}  // namespace kolvessa::bench

#endif  // BENCH_GENERATORS_H
