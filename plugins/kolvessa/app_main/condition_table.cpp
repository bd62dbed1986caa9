#include "plugins/kolvessa/app_main/condition_table.h"

#include <algorithm>

#include "qiv_jansson.h"

namespace kolvessa {
namespace {

constexpr int32_t operation_attach = 0;
constexpr int32_t operation_detach = 1;

void tell(orvu_cond condition, int32_t state) {
    const orvu_cond_result result = {state, {0, 0}};
    orvu_cond_res_changed(condition, &result);
}

}  // namespace

int32_t ConditionTable::callback(orvu_cond condition, int32_t operation) noexcept {
    if (operation == operation_attach) {
        try {
            attach(condition);
        } catch (...) {
            tell(condition, 0);
        }
        return 0;
    }
    if (operation == operation_detach) {
        const MutexLock guard(mutex_);
        conditions_.erase(condition);
    }
    tell(condition, 1);
    return 0;
}

void ConditionTable::attach(orvu_cond condition) {
    const orvu_cond_attr* const attributes = orvu_cond_get_attr(condition);
    const json_t* const param = attributes == nullptr ? nullptr : attributes->param;
    const json_t* const types = param == nullptr ? nullptr : qiv_json_object_get(param, "type");
    const size_t count = types == nullptr ? 0 : qiv_json_array_size(types);

    Names names;
    bool fulfilled = true;
    for (size_t i = 0; i < count; ++i) {
        const char* const name = qiv_json_string_value(qiv_json_array_get(types, i));
        if (name == nullptr) {
            fulfilled = false;
        } else {
            names.emplace(name);
        }
    }

    uint64_t seen_refreshes = 0;
    {
        const MutexLock guard(mutex_);
        Entry& entry = conditions_[condition];
        ++entry.revision;
        fulfilled = all_present(names) && fulfilled;
        entry.names.merge(names);  // needs no memory, so that none is ever left out
        seen_refreshes = refreshes_;
    }
    tell(condition, fulfilled ? 1 : 0);

    bool overtaken = false;
    {
        const MutexLock guard(mutex_);
        overtaken = refreshes_ != seen_refreshes;
    }
    if (overtaken) {
        report(condition);
    }
}

void ConditionTable::report(orvu_cond condition) {
    for (;;) {
        uint64_t revision = 0;
        uint64_t refreshes = 0;
        bool fulfilled = false;
        {
            const MutexLock guard(mutex_);
            const auto found = conditions_.find(condition);
            if (found == conditions_.end()) {
                return;
            }
            revision = found->second.revision;
            refreshes = refreshes_;
            fulfilled = all_present(found->second.names);
        }
        tell(condition, fulfilled ? 1 : 0);
        const MutexLock guard(mutex_);
        const auto found = conditions_.find(condition);
        if (found == conditions_.end() ||
            (found->second.revision == revision && refreshes_ == refreshes)) {
            return;
        }
    }
}

bool ConditionTable::all_present(const Names& names) const {
    return std::all_of(names.begin(), names.end(),
                       [this](const std::string& name) { return present_(name); });
}

// Moves on to the next live condition; false at the end.
bool ConditionTable::next_after(orvu_cond& condition) const {
    const MutexLock guard(mutex_);
    const auto next = conditions_.upper_bound(condition);
    if (next == conditions_.end()) {
        return false;
    }
    condition = next->first;
    return true;
}

void ConditionTable::refresh() noexcept {
    {
        const MutexLock guard(mutex_);
        ++refreshes_;
    }
    for (orvu_cond condition = 0; next_after(condition);) {
        report(condition);
    }
}

}  // namespace kolvessa
