#include "standalone/sigcheck/crypto.h"

#include <windows.h>

#include <bcrypt.h>
#include <wincrypt.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string_view>

namespace orvu::sigcheck {
namespace {

constexpr const wchar_t* algorithm_names[] = {BCRYPT_SHA1_ALGORITHM, BCRYPT_SHA256_ALGORITHM,
                                              BCRYPT_SHA384_ALGORITHM, BCRYPT_SHA512_ALGORITHM};

// Opened once and kept: opening a provider costs more than a small digest.
BCRYPT_ALG_HANDLE provider(digest algorithm) {
    static const std::array<BCRYPT_ALG_HANDLE, 4> providers = [] {
        std::array<BCRYPT_ALG_HANDLE, 4> opened{};
        for (size_t i = 0; i < opened.size(); i++) {
            if (BCryptOpenAlgorithmProvider(&opened[i], algorithm_names[i], nullptr, 0) != 0)
                opened[i] = nullptr;
        }
        return opened;
    }();
    return providers[static_cast<size_t>(algorithm)];
}

struct certificate_release {
    void operator()(const CERT_CONTEXT* certificate) const {
        CertFreeCertificateContext(certificate);
    }
};
struct key_release {
    void operator()(void* key) const { BCryptDestroyKey(key); }
};

// The length of one number of a curve's, 0 when the key is none of a curve.
size_t curve_size(BCRYPT_KEY_HANDLE key) {
    ULONG size = 0;
    if (BCryptExportKey(key, nullptr, BCRYPT_ECCPUBLIC_BLOB, nullptr, 0, &size, 0) != 0 ||
        size < sizeof(BCRYPT_ECCKEY_BLOB))
        return 0;
    std::vector<uint8_t> blob(size);
    if (BCryptExportKey(key, nullptr, BCRYPT_ECCPUBLIC_BLOB, blob.data(), size, &size, 0) != 0)
        return 0;
    BCRYPT_ECCKEY_BLOB header;
    std::memcpy(&header, blob.data(), sizeof header);
    return header.cbKey <= 66 ? header.cbKey : 0;
}

// CNG takes an ECDSA signature as the two numbers side by side, each of `half` bytes.
bool flatten_ecdsa(bytes signature, size_t half, std::vector<uint8_t>& out) {
    struct local_release {
        void operator()(CERT_ECC_SIGNATURE* block) const { LocalFree(block); }
    };
    CERT_ECC_SIGNATURE* raw = nullptr;
    DWORD size = 0;
    if (!CryptDecodeObjectEx(X509_ASN_ENCODING, X509_ECC_SIGNATURE, signature.data(),
                             static_cast<DWORD>(signature.size()), CRYPT_DECODE_ALLOC_FLAG, nullptr,
                             static_cast<void*>(&raw), &size))
        return false;
    const std::unique_ptr<CERT_ECC_SIGNATURE, local_release> decoded(raw);
    out.assign(2 * half, 0);
    size_t at = 0;
    for (const CRYPT_UINT_BLOB* number : {&decoded->r, &decoded->s}) {
        for (size_t i = 0; i < number->cbData; i++) {  // stored least significant byte first
            if (i < half)
                out[at + half - 1 - i] = number->pbData[i];
            else if (number->pbData[i] != 0)
                return false;
        }
        at += half;
    }
    return true;
}

}  // namespace

Hasher::Hasher(digest algorithm) : algorithm_(algorithm) {
    BCRYPT_HASH_HANDLE handle = nullptr;
    failed_ = BCryptCreateHash(provider(algorithm), &handle, nullptr, 0, nullptr, 0, 0) != 0;
    state_ = handle;
}

Hasher::~Hasher() {
    if (state_ != nullptr)
        BCryptDestroyHash(state_);
}

void Hasher::add(const void* data, size_t size) {
    const auto* at = static_cast<const uint8_t*>(data);
    while (!failed_ && size > 0) {
        const auto chunk = static_cast<ULONG>(std::min<size_t>(size, 1U << 24));
        failed_ = BCryptHashData(state_, const_cast<uint8_t*>(at), chunk, 0) != 0;
        at += chunk;
        size -= chunk;
    }
}

std::vector<uint8_t> Hasher::finish() {
    std::vector<uint8_t> result(digest_size(algorithm_));
    if (failed_ ||
        BCryptFinishHash(state_, result.data(), static_cast<ULONG>(result.size()), 0) != 0)
        result.clear();
    failed_ = true;
    return result;
}

bool verify_signature(bytes certificate, digest algorithm, bytes message, bytes signature) {
    const std::unique_ptr<const CERT_CONTEXT, certificate_release> parsed(
        CertCreateCertificateContext(X509_ASN_ENCODING, certificate.data(),
                                     static_cast<DWORD>(certificate.size())));
    if (!parsed)
        return false;
    Hasher hasher(algorithm);
    hasher.add(message.data(), message.size());
    std::vector<uint8_t> hash = hasher.finish();
    BCRYPT_KEY_HANDLE raw = nullptr;
    CERT_PUBLIC_KEY_INFO* const info = &parsed->pCertInfo->SubjectPublicKeyInfo;
    if (hash.empty() || !CryptImportPublicKeyInfoEx2(X509_ASN_ENCODING, info, 0, nullptr, &raw))
        return false;
    const std::unique_ptr<void, key_release> key(raw);

    std::vector<uint8_t> value(signature.begin(), signature.end());
    const std::string_view kind = info->Algorithm.pszObjId;
    if (kind == szOID_RSA_RSA) {
        BCRYPT_PKCS1_PADDING_INFO padding{algorithm_names[static_cast<size_t>(algorithm)]};
        return BCryptVerifySignature(key.get(), &padding, hash.data(),
                                     static_cast<ULONG>(hash.size()), value.data(),
                                     static_cast<ULONG>(value.size()), BCRYPT_PAD_PKCS1) == 0;
    }
    const size_t half = kind == szOID_ECC_PUBLIC_KEY ? curve_size(key.get()) : 0;
    return half > 0 && flatten_ecdsa(signature, half, value) &&
           BCryptVerifySignature(key.get(), nullptr, hash.data(), static_cast<ULONG>(hash.size()),
                                 value.data(), static_cast<ULONG>(value.size()), 0) == 0;
}

}  // namespace orvu::sigcheck
