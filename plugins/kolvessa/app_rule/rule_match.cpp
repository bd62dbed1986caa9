// Which elements describe a file.

#include <algorithm>
#include <memory>

#include "orvubase.h"
#include "plugins/kolvessa/app_rule/app_rule.h"
#include "plugins/kolvessa/app_rule/rule_content.h"
#include "plugins/kolvessa/text.h"

namespace kolvessa {
namespace {

struct StringFree {
    void operator()(char* text) const noexcept { orvu_str_free(text); }
};

// The elements that match so far, as runs that ascend each on its own.
struct Hits {
    std::vector<uint32_t> indices;
    std::vector<size_t> run_ends;

    void end_run() {
        if (indices.size() > (run_ends.empty() ? 0 : run_ends.back())) {
            run_ends.push_back(indices.size());
        }
    }

    // No element is in two runs, so that merging them gives each once.
    void merge_runs() {
        std::vector<uint32_t> merged;
        for (size_t run = 1; run < run_ends.size(); ++run) {
            const auto begin = indices.begin();
            const auto middle = begin + static_cast<ptrdiff_t>(run_ends[run - 1]);
            const auto end = begin + static_cast<ptrdiff_t>(run_ends[run]);
            merged.resize(run_ends[run]);
            std::merge(begin, middle, middle, end, merged.begin());
            std::copy(merged.begin(), merged.end(), begin);
        }
    }
};

// The number of a file's value; an empty value is never looked up.
uint32_t look_up(const RuleContent& content, const wide_string& value, AttributeKind kind) {
    return value.empty() ? ValueTable::absent
                         : content.attribute_index.find(kind, until_nul(value));
}

// Those that are filed under one value of the file and have all else that they state.
void collect_attribute_hits(const RuleContent& content, const ExactValues& file, AttributeKind kind,
                            Hits& hits) {
    const uint32_t value = file[static_cast<uint32_t>(kind)];
    if (value == ValueTable::absent) {
        return;
    }
    for (const uint32_t index : content.attribute_index.filed(kind, value)) {
        if (content.elements.satisfied(content.elements[index], file)) {
            hits.indices.push_back(index);
        }
    }
    hits.end_run();
}

// Those whose pattern occurs in the path and which have all else that they state.
void collect_path_hits(const RuleContent& content, const ExactValues& file,
                       const wide_string& procpath, Hits& hits) {
    if (!content.path_matcher.has_patterns()) {
        return;
    }
    const std::unique_ptr<char, StringFree> path(orvu_str_unicode_to_utf8(procpath.c_str()));
    if (!path) {
        return;
    }
    orvu_str_tolower(path.get());
    const size_t before = hits.indices.size();
    content.path_matcher.search(path.get(), hits.indices);
    const auto found = hits.indices.begin() + static_cast<ptrdiff_t>(before);
    hits.indices.erase(std::remove_if(found, hits.indices.end(),
                                      [&](uint32_t index) {
                                          return !content.elements.satisfied(
                                              content.elements[index], file);
                                      }),
                       hits.indices.end());
    hits.end_run();
}

}  // namespace

int32_t CAppRule::match_app_info(const AppInfo& app_info, std::vector<RuleElement>& matches) const {
    const RuleContent& content = *content_;
    const ExactValues file = {
        look_up(content, app_info.signer, AttributeKind::signer),
        look_up(content, app_info.productname, AttributeKind::productname),
        look_up(content, app_info.originalname, AttributeKind::originalname),
        look_up(content, app_info.copyright, AttributeKind::copyright),
        look_up(content, app_info.description, AttributeKind::description),
        look_up(content, app_info.iconhash, AttributeKind::iconhash),
    };
    Hits hits;
    for (uint32_t kind = 0; kind < exact_attribute_count; ++kind) {
        collect_attribute_hits(content, file, static_cast<AttributeKind>(kind), hits);
    }
    collect_path_hits(content, file, app_info.procpath, hits);
    hits.merge_runs();

    const size_t needed = matches.size() + hits.indices.size();
    if (needed > matches.capacity()) {
        matches.reserve(std::max(needed, 2 * matches.capacity()));
    }
    for (const uint32_t index : hits.indices) {
        matches.push_back(content.elements.record(content.elements[index]));
    }
    return 0;
}

}  // namespace kolvessa
