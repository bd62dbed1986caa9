// What is answered for a file agrees with the system's own calls for signatures.

#include <gtest/gtest.h>

#include <windows.h>

#include <softpub.h>
#include <wincrypt.h>
#include <wintrust.h>

#include "tests/standalone/sigcheck/signed_files.h"

namespace orvu::sigcheck::tests {
namespace {

LONG system_verdict(const WString& path) {
    WINTRUST_FILE_INFO subject{};
    subject.cbStruct = sizeof subject;
    subject.pcwszFilePath = path.c_str();
    WINTRUST_DATA request{};
    request.cbStruct = sizeof request;
    request.dwUIChoice = WTD_UI_NONE;
    request.fdwRevocationChecks = WTD_REVOKE_NONE;
    request.dwUnionChoice = WTD_CHOICE_FILE;
    request.pFile = &subject;
    request.dwStateAction = WTD_STATEACTION_VERIFY;
    request.dwProvFlags = WTD_CACHE_ONLY_URL_RETRIEVAL;
    GUID action = WINTRUST_ACTION_GENERIC_VERIFY_V2;
    const LONG status = WinVerifyTrust(nullptr, &action, &request);
    request.dwStateAction = WTD_STATEACTION_CLOSE;
    WinVerifyTrust(nullptr, &action, &request);
    return status;
}

// The common name of the signer as the system's message and certificate calls give it; empty when
// they find no signature or no such name.
WString system_signer(const WString& path) {
    HCERTSTORE store = nullptr;
    HCRYPTMSG message = nullptr;
    if (!CryptQueryObject(CERT_QUERY_OBJECT_FILE, path.c_str(),
                          CERT_QUERY_CONTENT_FLAG_PKCS7_SIGNED_EMBED, CERT_QUERY_FORMAT_FLAG_BINARY,
                          0, nullptr, nullptr, nullptr, &store, &message, nullptr))
        return {};
    WString name;
    DWORD size = 0;
    CryptMsgGetParam(message, CMSG_SIGNER_CERT_INFO_PARAM, 0, nullptr, &size);
    std::vector<uint8_t> information(size);
    if (CryptMsgGetParam(message, CMSG_SIGNER_CERT_INFO_PARAM, 0, information.data(), &size)) {
        const CERT_CONTEXT* const certificate = CertGetSubjectCertificateFromStore(
            store, X509_ASN_ENCODING, reinterpret_cast<CERT_INFO*>(information.data()));
        if (certificate != nullptr) {
            char type[] = szOID_COMMON_NAME;
            wchar_t buffer[257] = L"";
            CertGetNameStringW(certificate, CERT_NAME_ATTR_TYPE, 0, type, buffer, 257);
            name = buffer;
            CertFreeCertificateContext(certificate);
        }
    }
    CryptMsgClose(message);
    CertCloseStore(store, 0);
    return name;
}

class CrossCheck : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_NONE, nullptr), 0); }
};

TEST_F(CrossCheck, what_the_system_finds_broken_is_broken_and_what_it_accepts_is_intact) {
    int accepted = 0;
    int broken = 0;
    for (const signed_file& file : signed_files()) {
        // Only a signature that stands first and can be read: some versions of the call crash on
        // the rest.
        if ((file.state != SIGCHECK_OK && file.state != SIGCHECK_BROKEN) ||
            file.name == "x509_entry_first.exe")
            continue;
        const LONG system = system_verdict(framework(fixture(file.name)));
        const sigcheck_facts facts = query(fixture(file.name));
        if (system == 0) {
            EXPECT_EQ(facts.intact, 1) << file.name;
            accepted++;
        } else if (system == TRUST_E_BAD_DIGEST) {
            EXPECT_EQ(facts.state, SIGCHECK_BROKEN) << file.name;
            broken++;
        }
    }
    EXPECT_GE(accepted, 10);
    EXPECT_GE(broken, 2);
}

TEST_F(CrossCheck, the_common_name_is_the_one_that_the_system_gives) {
    int compared = 0;
    for (const signed_file& file : signed_files()) {
        const WString name = system_signer(framework(fixture(file.name)));
        if (file.state != SIGCHECK_OK || name.empty())
            continue;
        EXPECT_EQ(WString(query(fixture(file.name)).name), name) << file.name;
        compared++;
    }
    EXPECT_GE(compared, 15);
}

TEST_F(CrossCheck, the_policy_of_the_system_refuses_what_the_system_finds_broken) {
    ASSERT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_SYSTEM, nullptr), 0);
    for (const char* name : {"cn.exe", "cn32.exe", "chain.exe"}) {
        const bool accepted = system_verdict(framework(fixture(name))) == 0;
        EXPECT_EQ(query(fixture(name)).trusted, accepted ? 1 : 0) << name;
        EXPECT_EQ(query(fixture(name)).intact, 1) << name;
    }
    EXPECT_EQ(query(fixture("flipped_code.exe")).state, SIGCHECK_BROKEN);
    EXPECT_EQ(query(fixture("x509_entry_first.exe")).trusted, 0);
}

}  // namespace
}  // namespace orvu::sigcheck::tests
