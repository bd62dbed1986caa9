#include "standalone/orvualgo/md5.h"

#include <openssl/evp.h>

namespace orvu {

bool md5(const void* data, uint32_t length, uint8_t digest[16]) noexcept {
    // Fetched once and kept: the look-up through the providers costs more than a short digest.
    static EVP_MD* const algorithm = EVP_MD_fetch(nullptr, "MD5", nullptr);
    unsigned int written = 0;
    return algorithm != nullptr &&
           EVP_Digest(data, length, digest, &written, algorithm, nullptr) == 1 && written == 16;
}

}  // namespace orvu
