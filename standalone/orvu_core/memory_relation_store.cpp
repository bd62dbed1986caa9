#include "standalone/orvu_core/memory_relation_store.h"

#include <cstring>
#include <utility>

namespace orvu {

namespace {

constexpr size_t kPidCell = 9;
constexpr size_t kPathCell = 520;
static_assert((RelationStore::kMaxPath + 1) * sizeof(orvu_wchar) == kPathCell);

// Whether a map of appids may take one more in a table that holds `used` of `limit`.
template <typename Map>
bool has_room(const Map* appids, uint32_t appid, size_t used, size_t limit) {
    return used < limit || (appids != nullptr && appids->contains(appid));
}

template <typename Map, typename Key>
const typename Map::mapped_type* find_in(const Map& map, const Key& key) {
    const auto found = map.find(key);
    return found == map.end() ? nullptr : &found->second;
}

}  // namespace

// Tags name libraries, so there are few of them; the nodes of a set never move.
const std::string* MemoryRelationStore::intern(std::string_view tag) {
    const auto found = tags_.find(tag);
    if (found != tags_.end()) {
        return &*found;
    }
    return tags_.size() < max_versions_ ? &*tags_.emplace(tag).first : nullptr;
}

StoreResult MemoryRelationStore::add(uint64_t pid, uint32_t appid, bool inherit, wide_view path,
                                     std::string_view tag) {
    if ((pid == 0 && path.empty()) || path.size() > kMaxPath || tag.size() > kMaxTag) {
        return StoreResult::invalid;
    }
    const std::lock_guard lock(mutex_);
    const std::string* name = intern(tag);
    if (name == nullptr ||
        (pid != 0 && !has_room(find_in(pids_, pid), appid, pid_relations_, max_entries_)) ||
        (!path.empty() && !has_room(find_in(paths_, path), appid, path_relations_, max_entries_))) {
        return StoreResult::limit;
    }
    const Mark mark{inherit, name};
    Appids* of_path = nullptr;
    if (!path.empty()) {
        auto found = paths_.find(path);
        if (found == paths_.end()) {
            found = paths_.emplace(wide_string(path), Appids()).first;
        }
        of_path = &found->second;
    }
    bool new_for_path = false;
    try {
        if (of_path != nullptr) {
            new_for_path = of_path->try_emplace(appid).second;
        }
        if (pid != 0 && pids_[pid].insert_or_assign(appid, mark).second) {
            ++pid_relations_;
        }
    } catch (...) {
        if (new_for_path) {
            of_path->erase(appid);
        }
        if (of_path != nullptr && of_path->empty()) {
            paths_.erase(paths_.find(path));
        }
        if (const auto found = pids_.find(pid); found != pids_.end() && found->second.empty()) {
            pids_.erase(found);
        }
        throw;
    }
    if (of_path != nullptr) {
        of_path->at(appid) = mark;
        path_relations_ += new_for_path ? 1 : 0;
    }
    return StoreResult::ok;
}

StoreResult MemoryRelationStore::inherit(uint64_t pid, uint64_t parent) {
    if (pid == 0) {
        return StoreResult::invalid;
    }
    const std::lock_guard lock(mutex_);
    const Appids* from = find_in(pids_, parent);
    if (from == nullptr) {
        return StoreResult::nothing;
    }
    const Appids* own = find_in(pids_, pid);
    Appids merged = own == nullptr ? Appids() : *own;
    const size_t before = merged.size();
    bool any = false;
    for (const auto& [appid, mark] : *from) {
        if (mark.inherit) {
            merged.try_emplace(appid, mark);
            any = true;
        }
    }
    if (!any) {
        return StoreResult::nothing;
    }
    const size_t fresh = merged.size() - before;
    if (fresh > max_entries_ - std::min(max_entries_, pid_relations_)) {
        return StoreResult::limit;
    }
    pids_[pid].swap(merged);
    pid_relations_ += fresh;
    return StoreResult::ok;
}

StoreResult MemoryRelationStore::add_unidentified(wide_view path) {
    if (path.empty() || path.size() > kMaxPath) {
        return StoreResult::invalid;
    }
    const std::lock_guard lock(mutex_);
    if (unidentified_.contains(path)) {
        return StoreResult::ok;
    }
    if (unidentified_.size() >= max_entries_) {
        return StoreResult::limit;
    }
    unidentified_.emplace(path);
    return StoreResult::ok;
}

StoreResult MemoryRelationStore::set_version(std::string_view tag, uint64_t version,
                                             uint64_t* previous) {
    if (tag.size() > kMaxTag) {
        return StoreResult::invalid;
    }
    const std::lock_guard lock(mutex_);
    const auto found = versions_.find(tag);
    if (found != versions_.end()) {
        *previous = std::exchange(found->second, version);
        return StoreResult::ok;
    }
    if (versions_.size() >= max_versions_) {
        return StoreResult::limit;
    }
    versions_.emplace(tag, version);
    *previous = 0;
    return StoreResult::ok;
}

void MemoryRelationStore::clear_paths() {
    std::map<wide_string, Appids, std::less<>> dropped;
    const std::lock_guard lock(mutex_);
    dropped.swap(paths_);
    path_relations_ = 0;
}

StoreResult MemoryRelationStore::forget_pid(uint64_t pid) {
    const std::lock_guard lock(mutex_);
    const auto found = pids_.find(pid);
    if (found == pids_.end()) {
        return StoreResult::nothing;
    }
    pid_relations_ -= found->second.size();
    pids_.erase(found);
    return StoreResult::ok;
}

StoreResult MemoryRelationStore::forget_path(wide_view path) {
    const std::lock_guard lock(mutex_);
    bool any = false;
    if (const auto found = paths_.find(path); found != paths_.end()) {
        path_relations_ -= found->second.size();
        paths_.erase(found);
        any = true;
    }
    if (const auto found = unidentified_.find(path); found != unidentified_.end()) {
        unidentified_.erase(found);
        any = true;
    }
    return any ? StoreResult::ok : StoreResult::nothing;
}

std::vector<PidRelation> MemoryRelationStore::pids() const {
    const std::lock_guard lock(mutex_);
    std::vector<PidRelation> all;
    all.reserve(pid_relations_);
    for (const auto& [pid, appids] : pids_) {
        for (const auto& [appid, mark] : appids) {
            all.push_back({pid, appid, mark.inherit, *mark.tag});
        }
    }
    return all;
}

std::vector<PidRelation> MemoryRelationStore::pids_of(uint64_t pid) const {
    const std::lock_guard lock(mutex_);
    std::vector<PidRelation> all;
    if (const Appids* appids = find_in(pids_, pid)) {
        for (const auto& [appid, mark] : *appids) {
            all.push_back({pid, appid, mark.inherit, *mark.tag});
        }
    }
    return all;
}

std::vector<PathRelation> MemoryRelationStore::paths() const {
    const std::lock_guard lock(mutex_);
    std::vector<PathRelation> all;
    all.reserve(path_relations_);
    for (const auto& [path, appids] : paths_) {
        for (const auto& [appid, mark] : appids) {
            all.push_back({path, appid, mark.inherit, *mark.tag});
        }
    }
    return all;
}

std::vector<PathRelation> MemoryRelationStore::paths_of(wide_view path) const {
    const std::lock_guard lock(mutex_);
    std::vector<PathRelation> all;
    if (const Appids* appids = find_in(paths_, path)) {
        for (const auto& [appid, mark] : *appids) {
            all.push_back({wide_string(path), appid, mark.inherit, *mark.tag});
        }
    }
    return all;
}

std::vector<wide_string> MemoryRelationStore::unidentified() const {
    const std::lock_guard lock(mutex_);
    return {unidentified_.begin(), unidentified_.end()};
}

std::vector<LibraryVersion> MemoryRelationStore::versions() const {
    const std::lock_guard lock(mutex_);
    std::vector<LibraryVersion> all;
    all.reserve(versions_.size());
    for (const auto& [tag, version] : versions_) {
        all.push_back({tag, version});
    }
    return all;
}

size_t MemoryRelationStore::pack_pids(unsigned char* buffer, size_t capacity) const {
    const std::lock_guard lock(mutex_);
    if (buffer == nullptr) {
        return pid_relations_;
    }
    size_t count = 0;
    for (const auto& [pid, appids] : pids_) {
        for (const auto& [appid, mark] : appids) {
            if (count == capacity) {
                return count;
            }
            unsigned char* cell = buffer + count * kPidCell;
            const auto short_pid = static_cast<uint32_t>(pid);
            std::memcpy(cell, &short_pid, sizeof short_pid);
            std::memcpy(cell + 4, &appid, sizeof appid);
            cell[8] = mark.inherit ? 1 : 0;
            ++count;
        }
    }
    return count;
}

size_t MemoryRelationStore::pack_paths(unsigned char* buffer, size_t capacity) const {
    const std::lock_guard lock(mutex_);
    if (buffer == nullptr) {
        return paths_.size();
    }
    size_t count = 0;
    for (const auto& [path, appids] : paths_) {
        if (count == capacity) {
            break;
        }
        unsigned char* cell = buffer + count * kPathCell;
        std::memset(cell, 0, kPathCell);
        // The rest of the cell is zero, and every stored path leaves room for its NUL.
        // NOLINTNEXTLINE(bugprone-not-null-terminated-result)
        std::memcpy(cell, path.data(), path.size() * sizeof(orvu_wchar));
        ++count;
    }
    return count;
}

}  // namespace orvu
