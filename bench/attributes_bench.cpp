// The extraction of a file's attributes against the least that anyone could do: open, fstat, close,
// and MD5 of the same icon's bytes. The signer's whole-file digest is left out: this program gives
// the plug-in a signer check that knows nobody. The same file with 5 MB and 500 MB behind its image
// must cost the same. Ends with a table of ratios beside their targets and exits 1 when one is
// missed; `--small` only checks that everything works.
//
//   attributes_bench [--small] PE-FILE...      files with a version block and an icon

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

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
constexpr int rounds = 60;

template <typename Work>
double microseconds(int calls, Work work) {
    const auto start = std::chrono::steady_clock::now();
    for (int call = 0; call < calls; ++call) {
        work();
    }
    const std::chrono::duration<double, std::micro> passed =
        std::chrono::steady_clock::now() - start;
    return passed.count() / calls;
}

// What a piece of work costs when nothing disturbs it.
double undisturbed(const std::vector<double>& rounds) {
    return *std::min_element(rounds.begin(), rounds.end());
}

// Microseconds of the least and of the extraction. The two take turns, so that whatever else the
// machine does falls on both.
struct Costs {
    double least;
    double extraction;
};

Costs costs_of(const std::string& path, const std::vector<uint8_t>& icon, int calls) {
    const auto wide = orvu::utf8_to_wide(orvu::path_from_native(path)).value_or(orvu::WString());
    std::vector<double> least;
    std::vector<double> extraction;
    for (int round = 0; round < rounds; ++round) {
        least.push_back(microseconds(calls, [&] {
            struct stat status = {};
            const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
            fstat(file, &status);
            close(file);
            uint8_t digest[16];
            orvu_md5_calc(icon.data(), static_cast<uint32_t>(icon.size()), digest);
        }));
        extraction.push_back(microseconds(calls, [&] {
            AppInfo info;
            read_app_info(wide.c_str(), true, info);
        }));
    }
    return {undisturbed(least), undisturbed(extraction)};
}

bool compare(const std::string& path, const std::filesystem::path& folder, bool small) {
    const int calls = small ? 5 : 100;
    AppInfo info;
    const auto wide = orvu::utf8_to_wide(orvu::path_from_native(path)).value_or(orvu::WString());
    std::vector<uint8_t> icon;
    captured = &icon;
    read_app_info(wide.c_str(), true, info);
    captured = nullptr;
    if (icon.empty() || info.productname.empty()) {
        std::printf("%s: no version block or no icon in it\n", path.c_str());
        return false;
    }
    bool met = true;
    std::printf("%s, icon of %zu bytes\n", path.c_str(), icon.size());
    for (const uintmax_t megabytes : {0, 5, 500}) {
        const std::string copy = (folder / ("copy" + std::to_string(megabytes) + ".exe")).string();
        std::filesystem::copy_file(path, copy, std::filesystem::copy_options::overwrite_existing);
        if (std::filesystem::file_size(copy) < megabytes << 20) {
            std::filesystem::resize_file(copy, megabytes << 20);
        }
        const Costs costs = costs_of(copy, icon, calls);
        const double ratio = costs.extraction / costs.least;
        const bool reached = ratio <= target;
        met = met && reached;
        std::printf("  %4ju MB: least %7.2f us, extraction %7.2f us %8.3f x <= %4.1f  %s\n",
                    megabytes, costs.least, costs.extraction, ratio, target,
                    reached ? "met" : "MISSED");
    }
    return met || small;
}

}  // namespace
}  // namespace kolvessa::bench

int main(int argc, char** argv) {
    const bool small = argc > 1 && std::strcmp(argv[1], "--small") == 0;
    const int first = small ? 2 : 1;
    if (argc <= first) {
        std::fputs("usage: attributes_bench [--small] PE-FILE...\n", stderr);
        return 2;
    }
    const auto folder = std::filesystem::temp_directory_path() /
                        ("kolvessa-attributes-bench-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    bool met = true;
    for (int i = first; i < argc; ++i) {
        met = kolvessa::bench::compare(argv[i], folder, small) && met;
    }
    std::filesystem::remove_all(folder);
    return met ? 0 : 1;
}
