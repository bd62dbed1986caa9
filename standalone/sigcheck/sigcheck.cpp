// The calls of sigcheck.h and sigcheck_host.h: the policy, the cache, and the file between them.

#include "sigcheck.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "default_trust.h"
#include "standalone/sigcheck/examine.h"
#include "standalone/sigcheck/sigcheck_host.h"
#include "standalone/sigcheck/verdict_cache.h"

namespace orvu::sigcheck {
namespace {

constexpr size_t default_limit = 4096;

// Within this time after its last change a file may change again without a new time stamp.
constexpr int64_t clock_tick = 100'000'000;
constexpr int64_t coarse_clock_tick = 2'100'000'000;
constexpr int64_t second = 1'000'000'000;

// One policy with the answers that were given under it: a new policy starts with none.
struct policy {
    policy(std::shared_ptr<const TrustRoots> roots, size_t limit)
        : roots(std::move(roots)), cache(limit) {}
    std::shared_ptr<const TrustRoots> roots;
    VerdictCache cache;
};

bool settled(const file_identity& identity) {
    const bool whole_seconds = identity.modified % second == 0 && identity.changed % second == 0;
    const int64_t youngest = std::max(identity.modified, identity.changed);
    return file_clock_now() - youngest > (whole_seconds ? coarse_clock_tick : clock_tick);
}

verdict look(const SignedFile& file, const file_identity& before, const TrustRoots* roots,
             const orvu_wchar* path) {
    verdict found = examine(file, before.size, roots, path);
    file_identity after;
    if (!file.identity(after) || after != before)
        return {.state = SIGCHECK_CHANGING};
    return found;
}

class SignerCheck {
  public:
    verdict query(const orvu_wchar* path) {
        const std::shared_ptr<policy> current = this->current();
        const TrustRoots* const roots = current->roots.get();
        // Twice, since a file may be written to at just that moment; one that is written to all the
        // time is left alone.
        for (int attempt = 0; attempt < 2; attempt++) {
            const std::unique_ptr<SignedFile> file = SignedFile::open(path);
            file_identity identity;
            if (!file || !file->identity(identity))
                return {.state = SIGCHECK_NOT_OPENED};
            verdict found;
            if (settled(identity)) {
                found = current->cache.get(identity, [&]() -> VerdictCache::answer {
                    verdict fresh = look(*file, identity, roots, path);
                    const bool keep =
                        fresh.state != SIGCHECK_CHANGING && fresh.state != SIGCHECK_NOT_OPENED;
                    return {std::move(fresh), keep};
                });
            } else {
                current->cache.count_miss();
                found = look(*file, identity, roots, path);
            }
            if (found.state != SIGCHECK_CHANGING)
                return found;
        }
        return {.state = SIGCHECK_CHANGING};
    }

    int32_t set_trust(int32_t kind, const char* pem_path) {
        if (kind < SIGCHECK_TRUST_NONE || kind > SIGCHECK_TRUST_SYSTEM ||
            (kind == SIGCHECK_TRUST_FILE && pem_path == nullptr))
            return SIGCHECK_BAD_ARGUMENT;
        std::shared_ptr<policy> fresh = make(kind, pem_path);
        if (!fresh)
            return SIGCHECK_NOT_OPENED;
        const std::lock_guard lock(mutex_);
        set(std::move(fresh));
        return SIGCHECK_OK;
    }

    void set_limit(size_t entries) {
        const std::lock_guard lock(mutex_);
        limit_ = entries;
        if (policy_)
            policy_->cache.set_limit(entries);
    }

    sigcheck_counters counters() { return this->current()->cache.counters(); }

  private:
    static std::shared_ptr<policy> make(int32_t kind, const char* pem_path) {
        std::shared_ptr<const TrustRoots> roots;
        if (kind != SIGCHECK_TRUST_NONE) {
            roots = TrustRoots::load(kind == SIGCHECK_TRUST_FILE ? pem_path : nullptr);
            if (!roots)
                return nullptr;
        }
        return std::make_shared<policy>(std::move(roots), default_limit);
    }

    // The lock is held.
    void set(std::shared_ptr<policy> fresh) {
        if (fresh)
            fresh->cache.set_limit(limit_);
        policy_ = std::move(fresh);
    }

    std::shared_ptr<policy> current() {
        const std::lock_guard lock(mutex_);
        if (!policy_)
            set(make(default_trust, nullptr));
        if (!policy_)
            throw std::bad_alloc();
        return policy_;
    }

    std::mutex mutex_;
    size_t limit_ = default_limit;
    std::shared_ptr<policy> policy_;
};

// Never destroyed: a thread may still ask while the process ends.
SignerCheck& signer_check() {
    static SignerCheck* const instance = new SignerCheck;
    return *instance;
}

verdict query(const orvu_wchar* path) {
    if (path == nullptr || path[0] == 0)
        return {.state = SIGCHECK_BAD_ARGUMENT};
    try {
        return signer_check().query(path);
    } catch (const std::exception&) {
        return {.state = SIGCHECK_NO_MEMORY};
    }
}

// Copies as much as fits with the NUL, and no half of a surrogate pair.
void copy_name(const std::basic_string<orvu_wchar>& name, orvu_wchar* buffer, size_t capacity) {
    size_t length = std::min(name.size(), capacity - 1);
    if (length > 0 && length < name.size() && name[length - 1] >= 0xD800 &&
        name[length - 1] < 0xDC00)
        length--;
    std::copy_n(name.begin(), length, buffer);
    buffer[length] = 0;
}

}  // namespace
}  // namespace orvu::sigcheck

int32_t qiv_get_file_sign_w(const orvu_wchar* path, orvu_wchar* buffer, uint32_t capacity) {
    using namespace orvu::sigcheck;
    if (buffer == nullptr || capacity == 0)
        return SIGCHECK_BAD_ARGUMENT;
    buffer[0] = 0;
    const verdict found = query(path);
    if (found.state == SIGCHECK_OK)
        copy_name(found.name, buffer, capacity);
    return found.state;
}

int32_t sigcheck_query(const orvu_wchar* path, sigcheck_facts* facts) {
    using namespace orvu::sigcheck;
    if (facts == nullptr)
        return SIGCHECK_BAD_ARGUMENT;
    const verdict found = query(path);
    facts->state = found.state;
    facts->intact = found.intact ? 1 : 0;
    facts->trusted = found.trusted;
    copy_name(found.name, facts->name, std::size(facts->name));
    return found.state;
}

int32_t sigcheck_set_trust(int32_t policy, const char* pem_path) {
    using namespace orvu::sigcheck;
    try {
        return signer_check().set_trust(policy, pem_path);
    } catch (const std::exception&) {
        return SIGCHECK_NO_MEMORY;
    }
}

void sigcheck_set_cache_limit(size_t entries) {
    try {
        orvu::sigcheck::signer_check().set_limit(entries);
    } catch (const std::exception&) {  // without a policy nothing is kept that could be dropped
        return;
    }
}

void sigcheck_get_counters(sigcheck_counters* counters) {
    if (counters == nullptr)
        return;
    *counters = {};
    try {
        *counters = orvu::sigcheck::signer_check().counters();
    } catch (const std::exception&) {  // nothing was counted yet
        return;
    }
}
