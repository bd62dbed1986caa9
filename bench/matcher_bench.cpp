// The path matcher against its peers, all in one run: RE2::Set and the literal form of the
// algorithm for searching, vectorscan for building, and its own worst paths and memory. Ends with a
// table of ratios beside their targets and exits 1 when one is missed. `--small` takes a tenth of
// the data, for a smoke run in which only the programs' working is looked at, not the targets.

#include <benchmark/benchmark.h>
#include <hs/hs.h>
#include <re2/re2.h>
#include <re2/set.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "bench/generators.h"
#include "bench/ratio_table.h"
#include "bench/worst_paths.h"
#include "plugins/kolvessa/aho_corasick.h"
#include "tests/plugins/kolvessa/aho_corasick_model.h"

namespace kolvessa::bench {
namespace {

using words = std::vector<std::string>;

// Processor seconds after which vectorscan is stopped: far beyond what the target asks about.
constexpr rlim_t vectorscan_limit = 60;

struct Sizes {
    size_t patterns = 10000;
    size_t many_patterns = 100000;
    size_t paths = 2000;
    int climb = 300;
};

// A pattern as the other engines spell it.
std::string as_regex(const std::string& pattern) {
    std::string regex;
    for (const char byte : pattern) {
        regex += byte == '*' ? std::string(".+") : RE2::QuoteMeta(std::string(1, byte));
    }
    return regex;
}

CAhoCorasick matcher_of(const words& patterns) {
    CAhoCorasick matcher;
    for (uint32_t id = 0; id < patterns.size(); ++id) {
        matcher.add_pattern(patterns[id], id);
    }
    matcher.build();
    return matcher;
}

void search_matcher(benchmark::State& state, const words& patterns, const words& texts) {
    const CAhoCorasick matcher = matcher_of(patterns);
    std::vector<uint32_t> found;
    size_t hits = 0;
    size_t hit_paths = 0;
    while (state.KeepRunning()) {
        hits = 0;
        hit_paths = 0;
        for (const std::string& text : texts) {
            found.clear();
            matcher.search(text, found);
            hits += found.size();
            hit_paths += found.empty() ? 0 : 1;
        }
    }
    state.counters["hits"] = static_cast<double>(hits);
    state.counters["hit_percent"] =
        100.0 * static_cast<double>(hit_paths) / static_cast<double>(texts.size());
}

void search_model(benchmark::State& state, const words& patterns, const words& texts) {
    testing::AhoCorasickModel model;
    for (uint32_t id = 0; id < patterns.size(); ++id) {
        model.add_pattern(patterns[id], id);
    }
    model.build();
    size_t hits = 0;
    while (state.KeepRunning()) {
        hits = 0;
        for (const std::string& text : texts) {
            std::set<uint32_t> found;
            if (!model.search(text, found, uint64_t{1} << 40)) {
                state.SkipWithError("out of budget");
            }
            hits += found.size();
        }
    }
    state.counters["hits"] = static_cast<double>(hits);
}

// RE2 makes its automaton while it searches: paths that it has not seen cost it a hundred times
// those that it has. `warm` lets it see all of them before.
void search_re2(benchmark::State& state, const words& patterns, const words& texts, bool warm) {
    RE2::Options options(RE2::Latin1);
    options.set_dot_nl(true);
    options.set_log_errors(false);
    options.set_max_mem(int64_t{1} << 30);
    RE2::Set set(options, RE2::UNANCHORED);
    for (const std::string& pattern : patterns) {
        set.Add(as_regex(pattern), nullptr);
    }
    if (!set.Compile()) {
        state.SkipWithError("RE2::Set does not compile");
        return;
    }
    std::vector<int> found;
    for (size_t at = 0; warm && at < texts.size(); ++at) {
        set.Match(texts[at], &found);
    }
    size_t hits = 0;
    while (state.KeepRunning()) {
        hits = 0;
        for (const std::string& text : texts) {
            RE2::Set::ErrorInfo error{};
            if (!set.Match(text, &found, &error) && error.kind != RE2::Set::kNoError) {
                state.SkipWithError("RE2::Set gave up");
            }
            hits += found.size();
        }
    }
    state.counters["hits"] = static_cast<double>(hits);
}

void build_matcher(benchmark::State& state, const words& patterns) {
    size_t bytes = 0;
    for (const std::string& pattern : patterns) {
        bytes += pattern.size();
    }
    double held = 0;
    while (state.KeepRunning()) {
        const CAhoCorasick matcher = matcher_of(patterns);
        held = static_cast<double>(matcher.memory_bytes());
    }
    state.counters["bytes_per_pattern_byte"] = held / static_cast<double>(bytes);
}

// Processor seconds that vectorscan takes to compile the patterns; `stopped` when it was ended at
// the limit, and took longer than that. Runs in a process of its own, which the limit ends.
double vectorscan_seconds(const words& patterns, rlim_t limit, bool& stopped) {
    words regexes;
    for (const std::string& pattern : patterns) {
        regexes.push_back(as_regex(pattern));
    }
    std::vector<const char*> texts;
    std::vector<unsigned> ids;
    for (const std::string& regex : regexes) {
        texts.push_back(regex.c_str());
        ids.push_back(static_cast<unsigned>(ids.size()));
    }
    const std::vector<unsigned> flags(texts.size(), HS_FLAG_DOTALL | HS_FLAG_SINGLEMATCH);
    const pid_t child = fork();
    if (child == 0) {
        const rlimit seconds{limit, limit + 1};
        setrlimit(RLIMIT_CPU, &seconds);
        hs_database_t* database = nullptr;
        hs_compile_error_t* error = nullptr;
        _exit(hs_compile_multi(texts.data(), flags.data(), ids.data(),
                               static_cast<unsigned>(texts.size()), HS_MODE_BLOCK, nullptr,
                               &database, &error) == HS_SUCCESS
                  ? 0
                  : 1);
    }
    int status = 0;
    rusage used{};
    if (child < 0 || wait4(child, &status, 0, &used) != child ||
        (WIFEXITED(status) && WEXITSTATUS(status) != 0)) {
        return 0;
    }
    stopped = WIFSIGNALED(status);
    return static_cast<double>(used.ru_utime.tv_sec) +
           static_cast<double>(used.ru_utime.tv_usec) / 1e6;
}

int compare(Sizes sizes, bool judge) {
    const words patterns = path_patterns(sizes.patterns, 1);
    const words plain = path_patterns(sizes.patterns, 2, {20, 0});
    const words many = path_patterns(sizes.many_patterns, 3);
    const words texts = paths(sizes.paths, 4, patterns);
    const words plain_texts = paths(sizes.paths, 4, plain);

    using benchmark::RegisterBenchmark;
    const auto add = [](const char* name, auto body) {
        return RegisterBenchmark(name, body)->Unit(benchmark::kMillisecond);
    };
    add("search", [&](auto& state) { search_matcher(state, patterns, texts); });
    add("search_re2", [&](auto& state) {
        search_re2(state, patterns, texts, false);
    })->Iterations(1);
    add("search_re2_warm", [&](auto& state) { search_re2(state, patterns, texts, true); });
    add("search_plain", [&](auto& state) { search_matcher(state, plain, plain_texts); });
    add("search_plain_re2_warm", [&](auto& state) { search_re2(state, plain, plain_texts, true); });
    add("search_plain_model", [&](auto& state) { search_model(state, plain, plain_texts); });
    add("build", [&](auto& state) { build_matcher(state, many); });

    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    if (collector.failed) {
        std::puts("a peer failed; there is nothing to compare");
        return 1;
    }

    bool stopped = false;
    const double vectorscan = vectorscan_seconds(many, vectorscan_limit, stopped);
    if (vectorscan == 0) {
        std::puts("vectorscan does not compile");
        return 1;
    }

    const auto times = [&](const char* peer, const char* own) {
        return collector.ratio(peer, own);
    };
    Table table;
    std::puts("");
    table.line("paths that some pattern hits, of all", collector.counters["search/hit_percent"],
               "%", true, 28);
    table.line("search new paths, times faster than RE2::Set", times("search_re2", "search"), "x",
               true, 1.5);
    table.line("search the same paths again, than RE2::Set", times("search_re2_warm", "search"),
               "x", true, 1.5);
    table.line("... without leading \"*\"", times("search_plain_re2_warm", "search_plain"), "x",
               true, 1.5);
    table.line("search without leading \"*\", than the literal form",
               times("search_plain_model", "search_plain"), "x", true, 1.5);
    table.line(stopped ? "build, times faster than vectorscan, at least (stopped)"
                       : "build, times faster than vectorscan compiles",
               vectorscan / collector.seconds["build"], "x", true, 10);
    table.line("memory per pattern byte", collector.counters["build/bytes_per_pattern_byte"], "B",
               false, 16);
    for (const WorstCase& worst : known_worst_cases()) {
        table.line(worst.name, search_milliseconds(worst, 20), "ms", false, 3);
    }
    for (const uint32_t count : {4U, 30U, 100U}) {
        const WorstCase worst = climb_to_worst_case(5, sizes.climb, count, 20);
        table.line(worst.name, search_milliseconds(worst, 20), "ms", false, 3);
    }
    // Longer hostile patterns in number cost more; shown so that nobody takes the lines above for a
    // bound on every set.
    const WorstCase longer = climb_to_worst_case(5, sizes.climb, 100, 60);
    std::printf("%-58s %10.3f ms\n", longer.name.c_str(), search_milliseconds(longer, 20));
    return judge && table.missed ? 1 : 0;
}

}  // namespace
}  // namespace kolvessa::bench

int main(int argc, char** argv) {
    const bool small = kolvessa::bench::take_flags(argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    kolvessa::bench::Sizes sizes;
    if (small) {
        sizes = {1000, 1000, 200, 30};
    }
    return kolvessa::bench::compare(sizes, !small);
}
