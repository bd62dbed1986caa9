#ifndef ORVU_STANDALONE_ORVU_CORE_MEMORY_RELATION_STORE_H
#define ORVU_STANDALONE_ORVU_CORE_MEMORY_RELATION_STORE_H

#include <map>
#include <mutex>
#include <set>

#include "standalone/orvu_core/relation_store.h"

namespace orvu {

/* The relation store whose contents live as long as the process. */
class MemoryRelationStore : public RelationStore {
  public:
    /* How many entries each table takes: pid relations, path relations and unidentified paths up to
     * the first, versions up to the second. */
    static constexpr size_t kMaxEntries = size_t{1} << 20;
    static constexpr size_t kMaxVersions = 4096;

    explicit MemoryRelationStore(size_t max_entries = kMaxEntries,
                                 size_t max_versions = kMaxVersions)
        : max_entries_(max_entries), max_versions_(max_versions) {}

    StoreResult add(uint64_t pid, uint32_t appid, bool inherit, wide_view path,
                    std::string_view tag) override;
    StoreResult inherit(uint64_t pid, uint64_t parent) override;
    StoreResult add_unidentified(wide_view path) override;
    StoreResult set_version(std::string_view tag, uint64_t version, uint64_t* previous) override;
    void clear_paths() override;
    StoreResult forget_pid(uint64_t pid) override;
    StoreResult forget_path(wide_view path) override;
    std::vector<PidRelation> pids() const override;
    std::vector<PidRelation> pids_of(uint64_t pid) const override;
    std::vector<PathRelation> paths() const override;
    std::vector<PathRelation> paths_of(wide_view path) const override;
    std::vector<wide_string> unidentified() const override;
    std::vector<LibraryVersion> versions() const override;
    size_t pack_pids(unsigned char* buffer, size_t capacity) const override;
    size_t pack_paths(unsigned char* buffer, size_t capacity) const override;

  private:
    struct Mark {
        bool inherit = false;
        const std::string* tag = nullptr;  // in tags_, which only grows, bounded like the versions
    };
    using Appids = std::map<uint32_t, Mark>;

    const std::string* intern(std::string_view tag);

    const size_t max_entries_;
    const size_t max_versions_;
    mutable std::mutex mutex_;
    std::set<std::string, std::less<>> tags_;
    std::map<uint64_t, Appids> pids_;
    size_t pid_relations_ = 0;
    std::map<wide_string, Appids, std::less<>> paths_;
    size_t path_relations_ = 0;
    std::set<wide_string, std::less<>> unidentified_;
    std::map<std::string, uint64_t, std::less<>> versions_;
};

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_MEMORY_RELATION_STORE_H
