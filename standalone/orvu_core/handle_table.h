#ifndef ORVU_STANDALONE_ORVU_CORE_HANDLE_TABLE_H
#define ORVU_STANDALONE_ORVU_CORE_HANDLE_TABLE_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace orvu {

/* What the opaque handles of one kind stand for. A handle that was never given, or not any more,
 * finds null; so a stale handle costs its user an error, not a crash. Any thread may call. */
template <typename T>
class HandleTable {
  public:
    void put(uintptr_t handle, std::shared_ptr<T> value) {
        const std::lock_guard lock(mutex_);
        values_.insert_or_assign(handle, std::move(value));
    }
    std::shared_ptr<T> find(uintptr_t handle) const {
        const std::lock_guard lock(mutex_);
        const auto found = values_.find(handle);
        return found == values_.end() ? nullptr : found->second;
    }
    void erase(uintptr_t handle) {
        const std::lock_guard lock(mutex_);
        values_.erase(handle);
    }

  private:
    mutable std::mutex mutex_;
    std::unordered_map<uintptr_t, std::shared_ptr<T>> values_;
};

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_HANDLE_TABLE_H
