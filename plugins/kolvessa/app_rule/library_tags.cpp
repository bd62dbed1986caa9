#include "plugins/kolvessa/app_rule/library_tags.h"

#include <utility>

namespace kolvessa {

bool LibraryTags::contains(std::string_view tag) const {
    const MutexLock hold(mutex_);
    return tags_.find(tag) != tags_.end();
}

LibraryTags::Prepared LibraryTags::prepare(std::string_view tag) {
    std::set<std::string, std::less<>> one;
    one.emplace(tag);
    return one.extract(one.begin());
}

void LibraryTags::add(Prepared tag) noexcept {
    const MutexLock hold(mutex_);
    tags_.insert(std::move(tag));
}

void LibraryTags::remove(std::string_view tag) noexcept {
    const MutexLock hold(mutex_);
    const auto found = tags_.find(tag);
    if (found != tags_.end()) {
        tags_.erase(found);
    }
}

}  // namespace kolvessa
