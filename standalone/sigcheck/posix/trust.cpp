#include "standalone/sigcheck/trust.h"

#include <openssl/bio.h>
#include <openssl/pkcs7.h>
#include <openssl/ts.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <ctime>
#include <optional>

#include "standalone/sigcheck/posix/openssl_handles.h"

namespace orvu::sigcheck {
namespace {

template <auto release>
struct releaser {
    template <typename T>
    void operator()(T* object) const {
        release(object);
    }
};

using store_handle = std::unique_ptr<X509_STORE, releaser<X509_STORE_free>>;
using store_context = std::unique_ptr<X509_STORE_CTX, releaser<X509_STORE_CTX_free>>;
using pkcs7_handle = std::unique_ptr<PKCS7, releaser<PKCS7_free>>;
using stamp_context = std::unique_ptr<TS_VERIFY_CTX, releaser<TS_VERIFY_CTX_free>>;
using stamp_info = std::unique_ptr<TS_TST_INFO, releaser<TS_TST_INFO_free>>;

void release_stack(STACK_OF(X509) * stack) {
    sk_X509_pop_free(stack, X509_free);
}
using certificate_stack = std::unique_ptr<STACK_OF(X509), releaser<release_stack>>;

// 1.3.6.1.4.1.311.3.3.1
constexpr uint8_t oid_time_stamp[] = {0x2B, 0x06, 0x01, 0x04, 0x01, 0x82, 0x37, 0x03, 0x03, 0x01};

certificate_stack certificates_of(const signed_data& data) {
    certificate_stack stack(sk_X509_new_null());
    for (const bytes der : data.certificates) {
        x509_handle certificate = parse_certificate(der);
        if (stack && certificate && sk_X509_push(stack.get(), certificate.get()) > 0)
            X509_up_ref(certificate.get());  // the stack owns one of its own
    }
    return stack;
}

// The moment that a time stamp over the signature proves; nothing when there is none, or it doesn't
// verify against the same roots.
std::optional<std::time_t> stamped_time(const signed_data& data, X509_STORE* roots) {
    bytes token;
    if (!find_attribute(data.unsigned_attributes, oid_time_stamp, token))
        return std::nullopt;
    const unsigned char* at = token.data();
    const pkcs7_handle stamp(d2i_PKCS7(nullptr, &at, static_cast<long>(token.size())));
    const stamp_context context(TS_VERIFY_CTX_new());
    BIO* const stamped =
        BIO_new_mem_buf(data.signature.data(), static_cast<int>(data.signature.size()));
    if (!stamp || !context || stamped == nullptr) {
        BIO_free(stamped);
        return std::nullopt;
    }
    TS_VERIFY_CTX_set_flags(context.get(), TS_VFY_SIGNATURE | TS_VFY_VERSION | TS_VFY_DATA);
    TS_VERIFY_CTX_set_data(context.get(), stamped);  // owned from here on
    X509_STORE_up_ref(roots);
    TS_VERIFY_CTX_set_store(context.get(), roots);
    if (TS_RESP_verify_token(context.get(), stamp.get()) != 1)
        return std::nullopt;
    const stamp_info info(PKCS7_to_TS_TST_INFO(stamp.get()));
    std::tm broken_down{};
    if (!info || ASN1_TIME_to_tm(TS_TST_INFO_get_time(info.get()), &broken_down) != 1)
        return std::nullopt;
    return ::timegm(&broken_down);
}

// Meant for signing code, or for nothing in particular.
bool signs_code(X509* certificate) {
    if ((X509_get_extension_flags(certificate) & EXFLAG_XKUSAGE) == 0)
        return true;
    return (X509_get_extended_key_usage(certificate) & (XKU_CODE_SIGN | XKU_ANYEKU)) != 0;
}

class StoreRoots : public TrustRoots {
  public:
    explicit StoreRoots(store_handle store) : store_(std::move(store)) {}

    [[nodiscard]] bool vouch_for(const signed_data& data, const signed_subject&) const override {
        const OpensslErrorScope scope;
        const x509_handle signer = parse_certificate(data.signer);
        const certificate_stack others = certificates_of(data);
        const store_context context(X509_STORE_CTX_new());
        if (!signer || !others || !context || !signs_code(signer.get()) ||
            X509_STORE_CTX_init(context.get(), store_.get(), signer.get(), others.get()) != 1)
            return false;
        X509_STORE_CTX_set_purpose(context.get(), X509_PURPOSE_ANY);
        if (const auto time = stamped_time(data, store_.get()))
            X509_STORE_CTX_set_time(context.get(), 0, *time);
        return X509_verify_cert(context.get()) == 1;
    }

  private:
    store_handle store_;
};

bool has_certificate(X509_STORE* store) {
    const STACK_OF(X509_OBJECT)* const objects = X509_STORE_get0_objects(store);
    for (int i = 0; i < sk_X509_OBJECT_num(objects); i++) {
        if (X509_OBJECT_get_type(sk_X509_OBJECT_value(objects, i)) == X509_LU_X509)
            return true;
    }
    return false;
}

}  // namespace

std::shared_ptr<const TrustRoots> TrustRoots::load(const char* pem_path) {
    const OpensslErrorScope scope;
    store_handle store(X509_STORE_new());
    if (!store)
        return nullptr;
    if (pem_path == nullptr) {
        if (X509_STORE_set_default_paths(store.get()) != 1)
            return nullptr;
    } else if (X509_STORE_load_file(store.get(), pem_path) != 1 || !has_certificate(store.get())) {
        return nullptr;
    }
    return std::make_shared<StoreRoots>(std::move(store));
}

}  // namespace orvu::sigcheck
