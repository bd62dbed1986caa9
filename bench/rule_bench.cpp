// The rule store against Jansson, and against itself: a re-parse of a large library beside
// Jansson's own load and release of the same file, and a match for a file whose signer is shared by
// half of all elements beside one whose signer is rare. Prints both ratios beside their targets and
// exits 1 when one is missed. `--small` takes a tenth of the data and judges nothing.

#include <jansson.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/generators.h"
#include "plugins/kolvessa/app_rule/app_rule.h"
#include "plugins/kolvessa/json_ref.h"
#include "plugins/kolvessa/platform/platform.h"
#include "qiv_ejs.h"
#include "qiv_jansson.h"

namespace kolvessa::bench {
namespace {

constexpr int reparse_blocks = 4;
constexpr int reparse_rounds = 4;
constexpr int match_rounds = 9;
constexpr size_t files_of_a_kind = 1000;
constexpr double reparse_target = 1.7;
constexpr double shared_signer_target = 3.0;

// Processor time of this thread: what else the machine does is then left out.
double processor_seconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

template <typename Work>
double seconds(Work work) {
    const double start = processor_seconds();
    work();
    return processor_seconds() - start;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Several rounds in a row, the first left out: the C library's allocator puts much of the work of a
// release off to the next large allocation, so that a round pays for the one before it, and that
// must be one of its own kind.
template <typename Work>
void measure(std::vector<double>& times, Work work) {
    work();
    for (int round = 0; round < reparse_rounds; ++round) {
        times.push_back(seconds(work));
    }
}

wide_string wide(const char* ascii) {
    return ascii == nullptr ? wide_string() : wide_string(ascii, ascii + std::strlen(ascii));
}

// Files that have what some element states, with the shared signer or with one of their own; a path
// too, so that the walk over the patterns is part of every match.
std::vector<AppInfo> files(const std::string& library, bool shared) {
    std::vector<AppInfo> result;
    const std::vector<std::string> some_paths = paths(files_of_a_kind, 5, path_patterns(1000, 6));
    const EjsRef document(qiv_json_load_file_ejs(library.c_str()));
    const json_t* items = json_member(json_member(document.get(), "apprule"), "item");
    for (size_t item = 0; item < qiv_json_array_size(items); ++item) {
        const json_t* rules = json_member(qiv_json_array_get(items, item), "rules");
        for (size_t rule = 0; rule < qiv_json_array_size(rules); ++rule) {
            const json_t* elements = json_member(qiv_json_array_get(rules, rule), "elements");
            for (size_t e = 0; e < qiv_json_array_size(elements); ++e) {
                const json_t* element = qiv_json_array_get(elements, e);
                const char* signer = json_member_string(element, "signer");
                if (result.size() == files_of_a_kind || (shared_signer() == signer) != shared ||
                    json_member(element, "procpath") != nullptr) {
                    continue;
                }
                AppInfo info;
                info.signer = wide(signer);
                info.productname = wide(json_member_string(element, "productname"));
                info.originalname = wide(json_member_string(element, "originalname"));
                info.procpath = wide(some_paths[result.size()].c_str());
                result.push_back(info);
            }
        }
    }
    return result;
}

// Microseconds a match, and how many records all matches gave.
double match_all(const CAppRule& store, const std::vector<AppInfo>& infos, size_t& records) {
    std::vector<double> times;
    std::vector<RuleElement> matches;
    for (int round = 0; round < match_rounds; ++round) {
        records = 0;
        times.push_back(seconds([&] {
            for (const AppInfo& info : infos) {
                matches.clear();
                store.match_app_info(info, matches);
                records += matches.size();
            }
        }));
    }
    return median(times) / static_cast<double>(infos.size()) * 1e6;
}

bool line(const char* what, double value, double target) {
    const bool met = value <= target;
    std::printf("%-58s %10.3f x   <= %6.1f  %s\n", what, value, target, met ? "met" : "MISSED");
    return met;
}

int compare(size_t elements, bool judge) {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() /
        ("kolvessa-rule-bench-" + std::to_string(platform::process_id()));
    std::filesystem::create_directories(folder);
    const std::string library = (folder / "library.ejs").string();
    {
        std::ofstream out(library, std::ios::binary);
        write_rule_library(out, elements, 1);
    }

    CAppRule store;
    bool changed = false;
    if (store.load_json_from_file(library.c_str(), "bench", changed) != 0) {
        std::puts("the library can't be opened");
        return 1;
    }
    std::vector<double> jansson;
    std::vector<double> reparse;
    for (int block = 0; block < reparse_blocks; ++block) {
        measure(jansson, [&] { json_decref(json_load_file(library.c_str(), 0, nullptr)); });
        measure(reparse, [&] { store.do_all_parsh_json(); });
    }
    std::printf("%zu elements: Jansson %.1f ms, re-parse %.1f ms\n", store.rule_count(),
                median(jansson) * 1e3, median(reparse) * 1e3);
    bool met = line("re-parse, times Jansson's load and release", median(reparse) / median(jansson),
                    reparse_target);

    size_t ordinary_records = 0;
    size_t shared_records = 0;
    const double ordinary = match_all(store, files(library, false), ordinary_records);
    const double shared = match_all(store, files(library, true), shared_records);
    std::printf(
        "%zu files each: ordinary %.2f us (%zu records), shared signer %.2f us (%zu records)\n",
        files_of_a_kind, ordinary, ordinary_records, shared, shared_records);
    met = line("match with a signer of half the elements, times ordinary", shared / ordinary,
               shared_signer_target) &&
          met;
    std::filesystem::remove_all(folder);
    return judge && !met ? 1 : 0;
}

}  // namespace
}  // namespace kolvessa::bench

int main(int argc, char** argv) {
    const bool small = argc == 2 && std::strcmp(argv[1], "--small") == 0;
    if (argc > 1 && !small) {
        std::fputs("usage: rule_bench [--small]\n", stderr);
        return 2;
    }
    return kolvessa::bench::compare(small ? 10000 : 100000, !small);
}
