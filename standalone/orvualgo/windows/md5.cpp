#include "standalone/orvualgo/md5.h"

#include <windows.h>

#include <bcrypt.h>

namespace orvu {

namespace {

// Opened once and kept as long as the process: opening costs more than a short digest.
BCRYPT_ALG_HANDLE provider() {
    static const BCRYPT_ALG_HANDLE opened = [] {
        BCRYPT_ALG_HANDLE handle = nullptr;
        return BCryptOpenAlgorithmProvider(&handle, BCRYPT_MD5_ALGORITHM, nullptr, 0) == 0
                   ? handle
                   : nullptr;
    }();
    return opened;
}

struct Hash {
    BCRYPT_HASH_HANDLE value = nullptr;
    Hash() = default;
    ~Hash() {
        if (value != nullptr) {
            BCryptDestroyHash(value);
        }
    }
    Hash(const Hash&) = delete;
    Hash& operator=(const Hash&) = delete;
};

}  // namespace

bool md5(const void* data, uint32_t length, uint8_t digest[16]) noexcept {
    Hash hash;
    if (provider() == nullptr ||
        BCryptCreateHash(provider(), &hash.value, nullptr, 0, nullptr, 0, 0) != 0) {
        return false;
    }
    auto* bytes = static_cast<PUCHAR>(const_cast<void*>(data));
    return BCryptHashData(hash.value, bytes, length, 0) == 0 &&
           BCryptFinishHash(hash.value, digest, 16, 0) == 0;
}

}  // namespace orvu
