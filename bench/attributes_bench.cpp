// The extraction of a file's attributes against the least that anyone could do: open, fstat, close,
// and MD5 of the same icon's bytes. The signer's whole-file digest is left out: this program gives
// the plug-in a signer check that knows nobody. The same file with 5 MB and 500 MB behind its image
// must cost the same. Ends with a table of ratios beside their targets and exits 1 when one is
// missed; `--small` only checks that everything works.
//
//   attributes_bench [--small] PE-FILE...      files with a version block and an icon

#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/ratio_table.h"
#include "orvualgo.h"
#include "orvubase.h"
#include "plugins/kolvessa/kolvessa/app_info.h"
#include "sigcheck.h"
#include "standalone/orvubase/core/path_map.h"
#include "standalone/orvubase/core/utf.h"

// In place of the real library's.
int32_t qiv_get_file_sign_w(const orvu_wchar* /*path*/, orvu_wchar* /*buffer*/,
                            uint32_t /*capacity*/) {
    return 1;
}

namespace {
std::vector<uint8_t>* captured = nullptr;  // while set: receives what is digested
}

// Stands before the real library's, to learn which bytes are the icon's.
int32_t orvu_md5_calc(const void* data, uint32_t length, uint8_t digest[16]) {
    static const auto real =
        reinterpret_cast<decltype(&orvu_md5_calc)>(dlsym(RTLD_NEXT, "orvu_md5_calc"));
    if (captured != nullptr) {
        const auto* bytes = static_cast<const uint8_t*>(data);
        captured->assign(bytes, bytes + length);
    }
    return real(data, length, digest);
}

namespace kolvessa::bench {
namespace {

constexpr double target = 4.0;
constexpr int repetitions = 9;

std::string name_of(const char* what, const std::string& path, uintmax_t megabytes) {
    return std::string(what) + " " + std::filesystem::path(path).filename().string() + " " +
           std::to_string(megabytes) + " MB";
}

void least(benchmark::State& state, const std::string& path, const std::vector<uint8_t>& icon) {
    while (state.KeepRunning()) {
        struct stat status = {};
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        fstat(file, &status);
        close(file);
        uint8_t digest[16];
        orvu_md5_calc(icon.data(), static_cast<uint32_t>(icon.size()), digest);
    }
}

void extraction(benchmark::State& state, const std::string& path) {
    const auto wide = orvu::utf8_to_wide(orvu::path_from_native(path)).value_or(orvu::WString());
    while (state.KeepRunning()) {
        AppInfo info;
        read_app_info(wide.c_str(), true, info);
    }
}

// The bytes of the file's icon; empty when it has no icon or no version block.
std::vector<uint8_t> icon_of(const std::string& path) {
    const auto wide = orvu::utf8_to_wide(orvu::path_from_native(path)).value_or(orvu::WString());
    std::vector<uint8_t> icon;
    AppInfo info;
    captured = &icon;
    read_app_info(wide.c_str(), true, info);
    captured = nullptr;
    if (info.productname.empty()) {
        icon.clear();
    }
    return icon;
}

constexpr uintmax_t sizes_in_mb[] = {0, 5, 500};

int compare(const std::vector<std::string>& paths, const std::filesystem::path& folder,
            bool judge) {
    for (const std::string& path : paths) {
        const std::vector<uint8_t> icon = icon_of(path);
        if (icon.empty()) {
            std::printf("%s: no version block or no icon in it\n", path.c_str());
            return 1;
        }
        for (const uintmax_t megabytes : sizes_in_mb) {
            const std::string copy = (folder / name_of("copy", path, megabytes)).string();
            std::filesystem::copy_file(path, copy);
            if (std::filesystem::file_size(copy) < megabytes << 20) {
                std::filesystem::resize_file(copy, megabytes << 20);
            }
            benchmark::RegisterBenchmark(name_of("least", path, megabytes).c_str(),
                                         [copy, icon](auto& state) { least(state, copy, icon); })
                ->Repetitions(repetitions);
            benchmark::RegisterBenchmark(name_of("extraction", path, megabytes).c_str(),
                                         [copy](auto& state) { extraction(state, copy); })
                ->Repetitions(repetitions);
        }
    }
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    Table table;
    std::puts("");
    for (const std::string& path : paths) {
        for (const uintmax_t megabytes : sizes_in_mb) {
            table.line(name_of("extraction, times the least:", path, megabytes),
                       collector.ratio(name_of("extraction", path, megabytes),
                                       name_of("least", path, megabytes)),
                       "x", false, target);
        }
    }
    return collector.failed || (judge && table.missed) ? 1 : 0;
}

}  // namespace
}  // namespace kolvessa::bench

int main(int argc, char** argv) {
    const bool small = kolvessa::bench::take_flags(argc, argv);
    const std::vector<std::string> paths(argv + 1, argv + argc);
    if (paths.empty()) {
        std::fputs("usage: attributes_bench [--small] PE-FILE...\n", stderr);
        return 2;
    }
    const auto folder = std::filesystem::temp_directory_path() /
                        ("kolvessa-attributes-bench-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    const int code = kolvessa::bench::compare(paths, folder, !small);
    std::filesystem::remove_all(folder);
    return code;
}
