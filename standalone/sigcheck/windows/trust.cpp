#include "standalone/sigcheck/trust.h"

#include <windows.h>

#include <softpub.h>
#include <wincrypt.h>
#include <wintrust.h>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "standalone/orvubase/core/utf.h"

namespace orvu::sigcheck {
namespace {

template <auto release, typename T>
struct releaser {
    void operator()(T* object) const { release(object); }
};

void close_store(void* store) {
    CertCloseStore(store, 0);
}

using store_handle = std::unique_ptr<void, releaser<close_store, void>>;
using certificate_handle =
    std::unique_ptr<const CERT_CONTEXT, releaser<CertFreeCertificateContext, const CERT_CONTEXT>>;
using engine_handle = std::unique_ptr<void, releaser<CertFreeCertificateChainEngine, void>>;
using chain_handle = std::unique_ptr<const CERT_CHAIN_CONTEXT,
                                     releaser<CertFreeCertificateChain, const CERT_CHAIN_CONTEXT>>;

store_handle memory_store() {
    return store_handle(
        CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, CERT_STORE_CREATE_NEW_FLAG, nullptr));
}

certificate_handle parse_certificate(bytes der) {
    return certificate_handle(CertCreateCertificateContext(X509_ASN_ENCODING, der.data(),
                                                           static_cast<DWORD>(der.size())));
}

// The system decides: its roots, its rules for time stamps, its policy.
class SystemRoots : public TrustRoots {
  public:
    [[nodiscard]] bool vouch_for(const signed_data&,
                                 const signed_subject& signed_file) const override {
        // The system looks at the table's first entry alone.
        if (!signed_file.first_in_table)
            return false;
        WINTRUST_FILE_INFO subject{};
        subject.cbStruct = sizeof subject;
        subject.pcwszFilePath = signed_file.path;
        // NOLINTNEXTLINE(performance-no-int-to-ptr)
        subject.hFile = reinterpret_cast<HANDLE>(signed_file.file.handle());
        WINTRUST_DATA request{};
        request.cbStruct = sizeof request;
        request.dwUIChoice = WTD_UI_NONE;
        request.fdwRevocationChecks = WTD_REVOKE_NONE;
        request.dwUnionChoice = WTD_CHOICE_FILE;
        request.pFile = &subject;
        request.dwStateAction = WTD_STATEACTION_VERIFY;
        request.dwProvFlags = WTD_CACHE_ONLY_URL_RETRIEVAL | WTD_REVOCATION_CHECK_NONE;
        GUID action = WINTRUST_ACTION_GENERIC_VERIFY_V2;
        const LONG status =
            WinVerifyTrust(static_cast<HWND>(INVALID_HANDLE_VALUE), &action, &request);
        request.dwStateAction = WTD_STATEACTION_CLOSE;
        WinVerifyTrust(static_cast<HWND>(INVALID_HANDLE_VALUE), &action, &request);
        return status == 0;
    }
};

// Only the given roots count, whatever the system's store holds.
class StoreRoots : public TrustRoots {
  public:
    explicit StoreRoots(store_handle roots) : roots_(std::move(roots)) {}

    bool start() {
        CERT_CHAIN_ENGINE_CONFIG config{};
        // Without the flags that came last: every version takes the shorter record.
        config.cbSize = offsetof(CERT_CHAIN_ENGINE_CONFIG, dwExclusiveFlags);
        config.dwFlags = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL;
        config.hExclusiveRoot = roots_.get();
        HCERTCHAINENGINE engine = nullptr;
        if (!CertCreateCertificateChainEngine(&config, &engine))
            return false;
        engine_.reset(engine);
        return true;
    }

    [[nodiscard]] bool vouch_for(const signed_data& data, const signed_subject&) const override {
        const certificate_handle signer = parse_certificate(data.signer);
        const store_handle others = memory_store();
        if (!signer || !others)
            return false;
        for (const bytes der : data.certificates) {
            const certificate_handle other = parse_certificate(der);
            if (other)
                CertAddCertificateContextToStore(others.get(), other.get(),
                                                 CERT_STORE_ADD_USE_EXISTING, nullptr);
        }
        char code_signing[] = szOID_PKIX_KP_CODE_SIGNING;
        char* wanted[] = {code_signing};
        CERT_CHAIN_PARA parameters{};
        parameters.cbSize = sizeof parameters;
        parameters.RequestedUsage.dwType = USAGE_MATCH_TYPE_AND;
        parameters.RequestedUsage.Usage.cUsageIdentifier = 1;
        parameters.RequestedUsage.Usage.rgpszUsageIdentifier = wanted;
        const CERT_CHAIN_CONTEXT* raw = nullptr;
        if (!CertGetCertificateChain(engine_.get(), signer.get(), nullptr, others.get(),
                                     &parameters, CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL, nullptr,
                                     &raw))
            return false;
        const chain_handle chain(raw);
        return chain->TrustStatus.dwErrorStatus == CERT_TRUST_NO_ERROR;
    }

  private:
    store_handle roots_;
    engine_handle engine_;
};

// The file's bytes; empty when it is missing, empty or larger than any sensible list of roots.
std::string read_text(const char* path) {
    constexpr DWORD limit = 16U << 20;
    const auto wide = utf8_to_wide(path);
    if (!wide)
        return {};
    const HANDLE file = CreateFileW(wide->c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return {};
    std::string text;
    LARGE_INTEGER size{};
    if (GetFileType(file) == FILE_TYPE_DISK && GetFileSizeEx(file, &size) &&
        size.QuadPart <= limit) {
        text.resize(static_cast<size_t>(size.QuadPart));
        DWORD got = 0;
        if (!ReadFile(file, text.data(), static_cast<DWORD>(text.size()), &got, nullptr))
            got = 0;
        text.resize(got);
    }
    CloseHandle(file);
    return text;
}

// Adds each certificate block of the text; true when there was one and all could be read.
bool add_blocks(const std::string& text, HCERTSTORE store) {
    constexpr const char* begin = "-----BEGIN CERTIFICATE-----";
    constexpr const char* end = "-----END CERTIFICATE-----";
    bool any = false;
    for (size_t at = text.find(begin); at != std::string::npos; at = text.find(begin, at)) {
        const size_t stop = text.find(end, at);
        if (stop == std::string::npos)
            return false;
        const auto length = static_cast<DWORD>(stop + std::string(end).size() - at);
        DWORD size = 0;
        if (!CryptStringToBinaryA(text.data() + at, length, CRYPT_STRING_BASE64HEADER, nullptr,
                                  &size, nullptr, nullptr))
            return false;
        std::vector<uint8_t> der(size);
        if (!CryptStringToBinaryA(text.data() + at, length, CRYPT_STRING_BASE64HEADER, der.data(),
                                  &size, nullptr, nullptr))
            return false;
        der.resize(size);
        const certificate_handle certificate = parse_certificate(der);
        if (!certificate || !CertAddCertificateContextToStore(store, certificate.get(),
                                                              CERT_STORE_ADD_USE_EXISTING, nullptr))
            return false;
        any = true;
        at = stop;
    }
    return any;
}

}  // namespace

std::shared_ptr<const TrustRoots> TrustRoots::load(const char* pem_path) {
    if (pem_path == nullptr)
        return std::make_shared<SystemRoots>();
    store_handle store = memory_store();
    if (!store || !add_blocks(read_text(pem_path), store.get()))
        return nullptr;
    auto roots = std::make_shared<StoreRoots>(std::move(store));
    if (!roots->start())
        return nullptr;
    return roots;
}

}  // namespace orvu::sigcheck
