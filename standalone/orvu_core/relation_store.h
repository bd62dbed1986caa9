#ifndef ORVU_STANDALONE_ORVU_CORE_RELATION_STORE_H
#define ORVU_STANDALONE_ORVU_CORE_RELATION_STORE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "standalone/orvu_core/text.h"

namespace orvu {

struct PidRelation {
    uint64_t pid = 0;
    uint32_t appid = 0;
    bool inherit = false;
    std::string tag;
};

struct PathRelation {
    wide_string path;
    uint32_t appid = 0;
    bool inherit = false;
    std::string tag;
};

struct LibraryVersion {
    std::string tag;
    uint64_t version = 0;
};

enum class StoreResult { ok, nothing, invalid, limit };

/* What plug-ins tell the function driver: which applications a process and a path belong to, which
 * paths nobody could identify, and which library versions are installed. Any thread may call any
 * operation; all may throw std::bad_alloc, and then nothing has changed. A path holds at most
 * kMaxPath units and a tag kMaxTag bytes; each of the four tables is bounded and refuses with
 * `limit` what would go beyond, while updates of what is there go on. */
class RelationStore {
  public:
    static constexpr size_t kMaxPath = 259;
    static constexpr size_t kMaxTag = 1024;

    RelationStore() = default;
    RelationStore(const RelationStore&) = delete;
    RelationStore& operator=(const RelationStore&) = delete;
    virtual ~RelationStore() = default;

    /* Relates an appid to a process, a path, or both. A pid of 0 or an empty path is left out;
     * `invalid` for neither. A relation that is there takes the new flag and tag. */
    virtual StoreResult add(uint64_t pid, uint32_t appid, bool inherit, wide_view path,
                            std::string_view tag) = 0;

    /* Gives a process the inheritable relations of its parent, inheritable in turn. A relation that
     * the process has of its own stays as it is. `nothing` when the parent has none to give. */
    virtual StoreResult inherit(uint64_t pid, uint64_t parent) = 0;

    virtual StoreResult add_unidentified(wide_view path) = 0;

    /* Sets a tag's version; *previous receives the one before, 0 for a new tag. */
    virtual StoreResult set_version(std::string_view tag, uint64_t version, uint64_t* previous) = 0;

    virtual void clear_paths() = 0;

    /* `nothing` when there was nothing to drop. */
    virtual StoreResult forget_pid(uint64_t pid) = 0;
    virtual StoreResult forget_path(wide_view path) = 0;

    /* Copies, in ascending order: of pid and appid, of path and appid, of path, of tag. Paths order
     * by their units' values. */
    virtual std::vector<PidRelation> pids() const = 0;
    virtual std::vector<PidRelation> pids_of(uint64_t pid) const = 0;
    virtual std::vector<PathRelation> paths() const = 0;
    virtual std::vector<PathRelation> paths_of(wide_view path) const = 0;
    virtual std::vector<wide_string> unidentified() const = 0;
    virtual std::vector<LibraryVersion> versions() const = 0;

    /* The packed forms of the contract. With a null buffer the number of elements there are; else
     * at most `capacity` elements are written, 9 bytes for each pid relation (pid and appid, 32
     * bits each, and the inherit flag) or 520 for each distinct path, and their number is returned.
     */
    virtual size_t pack_pids(unsigned char* buffer, size_t capacity) const = 0;
    virtual size_t pack_paths(unsigned char* buffer, size_t capacity) const = 0;
};

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_RELATION_STORE_H
