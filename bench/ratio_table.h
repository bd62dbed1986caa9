#ifndef BENCH_RATIO_TABLE_H
#define BENCH_RATIO_TABLE_H

// How every benchmark program ends: what Google Benchmark measured in this run becomes a table of
// ratios, each beside its target.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>

namespace kolvessa::bench {

// Keeps what the table is made of while the runs are printed as usual. Of several repetitions the
// quickest counts, since whatever else the machine does only ever adds. Times are processor time.
class Collector : public benchmark::ConsoleReporter {
  public:
    Collector() : ConsoleReporter(OO_None) {}
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration) {
                continue;
            }
            const std::string name = run.run_name.function_name;
            failed = failed || run.error_occurred;
            const double time = run.cpu_accumulated_time / static_cast<double>(run.iterations);
            const auto [kept, first] = seconds.try_emplace(name, time);
            if (!first && time < kept->second) {
                kept->second = time;
            }
            for (const auto& [counter, value] : run.counters) {
                counters[std::string(name).append("/").append(counter)] = value;
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

    // How many times as long as `other` the benchmark `name` took.
    double ratio(const std::string& name, const std::string& other) {
        return seconds[name] / seconds[other];
    }

    std::map<std::string, double> seconds;
    std::map<std::string, double> counters;
    bool failed = false;
};

struct Table {
    bool missed = false;

    void line(const std::string& what, double value, const char* unit, bool at_least,
              double target) {
        const bool met = at_least ? value >= target : value <= target;
        missed = missed || !met;
        std::printf("%-58s %10.3f %-3s %s %6.1f  %s\n", what.c_str(), value, unit,
                    at_least ? ">=" : "<=", target, met ? "met" : "MISSED");
    }
};

// Takes "--small" and Google Benchmark's own flags off the command line; what is left stays. Call
// once, first.
inline bool take_flags(int& argc, char** argv) {
    bool small = false;
    int kept = 1;
    for (int at = 1; at < argc; ++at) {
        if (std::strcmp(argv[at], "--small") == 0) {
            small = true;
        } else {
            argv[kept++] = argv[at];
        }
    }
    argc = kept;
    benchmark::Initialize(&argc, argv);
    return small;
}

}  // namespace kolvessa::bench

#endif  // BENCH_RATIO_TABLE_H
