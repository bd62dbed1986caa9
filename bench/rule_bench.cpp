// The rule store against Jansson, and against itself: a re-parse of a large library beside
// Jansson's own load and release of the same file, and a match for a file whose signer is shared by
// half of all elements beside one whose signer is rare. Prints both ratios beside their targets and
// exits 1 when one is missed. `--small` takes a tenth of the data and judges nothing.

#include <benchmark/benchmark.h>
#include <jansson.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/generators.h"
#include "bench/ratio_table.h"
#include "plugins/kolvessa/app_rule/app_rule.h"
#include "plugins/kolvessa/json_ref.h"
#include "plugins/kolvessa/platform/platform.h"
#include "qiv_ejs.h"
#include "qiv_jansson.h"
#include "standalone/orvubase/orvubase_host.h"

namespace kolvessa::bench {
namespace {

constexpr int repetitions = 5;
constexpr size_t files_of_a_kind = 1000;
constexpr double reparse_target = 1.7;
constexpr double shared_signer_target = 3.0;

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

// A match for one file after the other.
void match_all(benchmark::State& state, const CAppRule& store, const std::vector<AppInfo>& infos) {
    std::vector<RuleElement> matches;
    size_t records = 0;
    while (state.KeepRunning()) {
        records = 0;
        for (const AppInfo& info : infos) {
            matches.clear();
            store.match_app_info(info, matches);
            records += matches.size();
        }
    }
    state.counters["records"] = static_cast<double>(records);
}

int compare(size_t elements, bool judge) {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() /
        ("kolvessa-rule-bench-" + std::to_string(platform::process_id()));
    orvu_host_set_home((folder / "home").c_str());
    std::filesystem::create_directories(folder);
    const std::string library = (folder / "library.ejs").string();
    {
        std::ofstream out(library, std::ios::binary);
        write_rule_library(out, elements, 1);
    }
    CAppRule store;
    bool changed = false;
    if (store.load_json_from_file(library.c_str(), "bench", changed) != 0 ||
        store.do_all_parsh_json() != 0) {
        std::puts("the library can't be loaded");
        return 1;
    }
    const std::vector<AppInfo> ordinary = files(library, false);
    const std::vector<AppInfo> shared = files(library, true);
    if (ordinary.empty() || ordinary.size() != shared.size()) {
        std::puts("the library has too few elements to match");
        return 1;
    }

    // Several iterations of one kind in a row: the C library's allocator puts much of the work of a
    // release off to the next large allocation, so that each pays for the one before it.
    const auto add = [](const char* name, auto body) {
        benchmark::RegisterBenchmark(name, body)
            ->Unit(benchmark::kMillisecond)
            ->Repetitions(repetitions);
    };
    add("jansson", [&](auto& state) {
        while (state.KeepRunning()) {
            json_decref(json_load_file(library.c_str(), 0, nullptr));
        }
    });
    add("reparse", [&](auto& state) {
        while (state.KeepRunning()) {
            store.do_all_parsh_json();
        }
    });
    add("match", [&](auto& state) { match_all(state, store, ordinary); });
    add("match_shared_signer", [&](auto& state) { match_all(state, store, shared); });

    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    std::filesystem::remove_all(folder);
    Table table;
    std::puts("");
    table.line("re-parse, times Jansson's load and release", collector.ratio("reparse", "jansson"),
               "x", false, reparse_target);
    table.line("match with a signer of half the elements, times ordinary",
               collector.ratio("match_shared_signer", "match"), "x", false, shared_signer_target);
    return collector.failed || (judge && table.missed) ? 1 : 0;
}

}  // namespace
}  // namespace kolvessa::bench

int main(int argc, char** argv) {
    const bool small = kolvessa::bench::take_flags(argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    return kolvessa::bench::compare(small ? 10000 : 100000, !small);
}
