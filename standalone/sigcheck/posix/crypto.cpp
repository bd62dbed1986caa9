#include "standalone/sigcheck/crypto.h"

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>

#include "standalone/sigcheck/posix/openssl_handles.h"

namespace orvu::sigcheck {
namespace {

const EVP_MD* algorithm_of(digest algorithm) {
    // Fetched once: a look-up by name on each use costs more than a small digest.
    static const EVP_MD* const fetched[] = {
        EVP_MD_fetch(nullptr, "SHA1", nullptr), EVP_MD_fetch(nullptr, "SHA256", nullptr),
        EVP_MD_fetch(nullptr, "SHA384", nullptr), EVP_MD_fetch(nullptr, "SHA512", nullptr)};
    return fetched[static_cast<size_t>(algorithm)];
}

}  // namespace

Hasher::Hasher(digest algorithm) : algorithm_(algorithm), state_(EVP_MD_CTX_new()) {
    const EVP_MD* const type = algorithm_of(algorithm);
    failed_ = state_ == nullptr || type == nullptr ||
              EVP_DigestInit_ex2(static_cast<EVP_MD_CTX*>(state_), type, nullptr) != 1;
}

Hasher::~Hasher() {
    EVP_MD_CTX_free(static_cast<EVP_MD_CTX*>(state_));
}

void Hasher::add(const void* data, size_t size) {
    if (!failed_)
        failed_ = EVP_DigestUpdate(static_cast<EVP_MD_CTX*>(state_), data, size) != 1;
}

std::vector<uint8_t> Hasher::finish() {
    std::vector<uint8_t> result(digest_size(algorithm_));
    if (failed_ ||
        EVP_DigestFinal_ex(static_cast<EVP_MD_CTX*>(state_), result.data(), nullptr) != 1)
        result.clear();
    failed_ = true;
    return result;
}

bool verify_signature(bytes certificate, digest algorithm, bytes message, bytes signature) {
    const OpensslErrorScope scope;
    const x509_handle parsed = parse_certificate(certificate);
    if (!parsed)
        return false;
    EVP_PKEY* const key = X509_get0_pubkey(parsed.get());
    if (key == nullptr ||
        (EVP_PKEY_get_base_id(key) != EVP_PKEY_RSA && EVP_PKEY_get_base_id(key) != EVP_PKEY_EC))
        return false;
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                          &EVP_MD_CTX_free);
    return context != nullptr &&
           EVP_DigestVerifyInit(context.get(), nullptr, algorithm_of(algorithm), nullptr, key) ==
               1 &&
           EVP_DigestVerify(context.get(), signature.data(), signature.size(), message.data(),
                            message.size()) == 1;
}

}  // namespace orvu::sigcheck
