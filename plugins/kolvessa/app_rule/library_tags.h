#ifndef KOLVESSA_APP_RULE_LIBRARY_TAGS_H
#define KOLVESSA_APP_RULE_LIBRARY_TAGS_H

// The tags of the installed libraries, for those who must not wait for the rules' lock: a library
// change may hold that for seconds, while the question whether a tag is installed is answered here
// at once. The owner of the libraries changes it in step with them; any thread may ask.

#include <set>
#include <string>
#include <string_view>

#include "plugins/kolvessa/thread_annotations.h"

namespace kolvessa {

class LibraryTags {
  public:
    // True when a library stands under `tag` now.
    bool contains(std::string_view tag) const EXCLUDES(mutex_);

    // Adding takes two steps, so that nothing can fail between the change of the libraries and
    // that of the tags: `prepare` allocates, `add` doesn't and never throws.
    using Prepared = std::set<std::string, std::less<>>::node_type;
    static Prepared prepare(std::string_view tag);
    void add(Prepared tag) noexcept EXCLUDES(mutex_);
    void remove(std::string_view tag) noexcept EXCLUDES(mutex_);

  private:
    mutable Mutex mutex_;
    std::set<std::string, std::less<>> tags_ GUARDED_BY(mutex_);
};

}  // namespace kolvessa

#endif  // KOLVESSA_APP_RULE_LIBRARY_TAGS_H
