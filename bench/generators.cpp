#include "bench/generators.h"

#include <array>
#include <ostream>
#include <unordered_set>

namespace kolvessa::bench {

namespace {

constexpr std::array<const char*, 32> kSyllables = {
    "ac",  "be",   "cor", "dex", "el",  "fi",   "gra", "hub", "in",  "jo", "ka",
    "lum", "me",   "net", "os",  "pix", "qu",   "ri",  "syn", "tek", "ul", "vo",
    "wi",  "xeno", "yo",  "za",  "32",  "soft", "lab", "pro", "x",   "one"};
constexpr std::array<const char*, 8> kRoots = {
    "c:\\program files\\", "c:\\program files (x86)\\", "c:\\programdata\\",    "d:\\apps\\",
    "c:\\users\\public\\", "\\appdata\\local\\",        "\\appdata\\roaming\\", "\\"};
constexpr uint32_t kShortestPath = 40;
constexpr uint32_t kLongestPath = 200;
constexpr std::array<const char*, 4> kEndings = {".exe", ".exe", ".exe", ".com"};

// Names are drawn from a few thousand, so that folders are shared as they are on real machines.
std::string name(Random& random) {
    Random own(random.below(4000));
    std::string made;
    for (uint32_t part = 2 + own.below(3); part > 0; --part) {
        made += kSyllables[own.below(kSyllables.size())];
    }
    return made;
}

std::string root(Random& random) {
    return kRoots[random.below(kRoots.size())];
}
std::string file(Random& random) {
    return name(random) + kEndings[random.below(kEndings.size())];
}

std::string pattern(Random& random, PatternShape shape) {
    const bool leading = random.percent(shape.leading_wildcard_percent);
    const uint32_t folders = 1 + random.below(4);
    const uint32_t wild =
        random.percent(shape.inner_wildcard_percent) ? random.below(folders) : folders;
    std::string made = leading ? "*\\" : root(random);
    for (uint32_t folder = 0; folder < folders; ++folder) {
        made += (folder == wild ? "*" : name(random)) + "\\";
    }
    return made + file(random);
}

std::string filled(Random& random, const std::string& pattern) {
    std::string made;
    for (const char byte : pattern) {
        made += byte == '*' ? name(random) : std::string(1, byte);
    }
    return made;
}

// Around one of the patterns, which stays whole, so that it is found.
std::string related_path(Random& random, const std::vector<std::string>& patterns) {
    std::string made =
        filled(random, patterns[random.below(static_cast<uint32_t>(patterns.size()))]);
    if (made.front() == '\\') {
        made.insert(0, "c:\\users\\" + name(random));
    }
    return made;
}

std::string unrelated_path(Random& random) {
    const uint32_t length = kShortestPath + random.below(kLongestPath - kShortestPath);
    std::string made = root(random);
    do {
        made += name(random) + "\\";
    } while (made.size() < length);
    return made + file(random);
}

}  // namespace

std::vector<std::string> path_patterns(size_t count, uint32_t seed, PatternShape shape) {
    Random random(seed);
    std::unordered_set<std::string> seen;
    std::vector<std::string> made;
    while (made.size() < count) {
        std::string next = pattern(random, shape);
        if (next.size() >= 20 && next.size() <= 60 && seen.insert(next).second) {
            made.push_back(std::move(next));
        }
    }
    return made;
}

std::vector<std::string> paths(size_t count, uint32_t seed,
                               const std::vector<std::string>& patterns) {
    Random random(seed);
    std::vector<std::string> made;
    while (made.size() < count) {
        const bool related = !patterns.empty() && random.below(3) == 0;
        std::string path;
        do {
            path = related ? related_path(random, patterns) : unrelated_path(random);
        } while (path.size() < kShortestPath || path.size() > kLongestPath);
        made.push_back(std::move(path));
    }
    return made;
}

std::string shared_signer() {
    return "Shared Signer Ltd.";
}

void write_rule_library(std::ostream& out, size_t elements, uint32_t seed) {
    constexpr size_t kElementsPerRule = 4;
    constexpr size_t kRulesPerCategory = 50;
    Random random(seed);
    const auto escaped = [](const std::string& text) {
        std::string json;
        for (const char byte : text) {
            json += byte == '\\' ? std::string("\\\\") : std::string(1, byte);
        }
        return json;
    };
    out << R"({"apprule":{"version":1,"category":"all","item":[)";
    const size_t rules = (elements + kElementsPerRule - 1) / kElementsPerRule;
    for (size_t rule = 0; rule < rules; ++rule) {
        const size_t place = rule % kRulesPerCategory;
        if (place == 0) {
            out << (rule == 0 ? "" : "]},") << "\n{\"category\":\"group "
                << rule / kRulesPerCategory << "\",\"rules\":[";
        }
        out << (place == 0 ? "\n" : ",\n") << "{\"appid\":" << rule + 1 << ",\"elements\":[";
        const size_t first = rule * kElementsPerRule;
        for (size_t at = first; at < elements && at < first + kElementsPerRule; ++at) {
            out << (at == first ? "{" : ",{") << "\"signer\":\""
                << (at % 2 == 0 ? shared_signer() : name(random) + " inc.")
                << "\",\"productname\":\"" << name(random) << ' ' << at << "\",\"originalname\":\""
                << file(random) << '"';
            if (random.percent(20)) {
                out << ",\"procpath\":\"" << escaped(pattern(random, {})) << '"';
            }
            out << (random.percent(10) ? ",\"inherit\":1}" : "}");
        }
        out << "]}";
    }
    out << (rules == 0 ? "" : "]}") << "]}}\n";
}

}  // namespace kolvessa::bench
