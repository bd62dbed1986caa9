#include "standalone/sigcheck/signed_data.h"

#include "standalone/sigcheck/der.h"

namespace orvu::sigcheck {
namespace {

constexpr size_t certificate_limit = 128;

// 1.2.840.113549.1.7.2, .1.9.3, .1.9.4
constexpr uint8_t oid_signed_data[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x07, 0x02};
constexpr uint8_t oid_content_type[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x09, 0x03};
constexpr uint8_t oid_message_digest[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x09, 0x04};
// 1.3.6.1.4.1.311.2.1.4, and the two kinds of content that signers of PE files state: .15, the
// image's data, and .21, which some of them write in its place.
constexpr uint8_t oid_indirect_data[] = {0x2B, 0x06, 0x01, 0x04, 0x01,
                                         0x82, 0x37, 0x02, 0x01, 0x04};
constexpr uint8_t oid_pe_image_data[] = {0x2B, 0x06, 0x01, 0x04, 0x01,
                                         0x82, 0x37, 0x02, 0x01, 0x0F};
constexpr uint8_t oid_individual_code_signing[] = {0x2B, 0x06, 0x01, 0x04, 0x01,
                                                   0x82, 0x37, 0x02, 0x01, 0x15};

// AlgorithmIdentifier: an object identifier, then parameters that a digest has none of.
bool read_digest_algorithm(bytes identifier, digest& out) {
    DerReader fields(identifier);
    der_value oid;
    if (!fields.next(DER_OID, oid))
        return false;
    const std::optional<digest> algorithm = digest_of(oid.content);
    if (algorithm)
        out = *algorithm;
    return algorithm.has_value();
}

struct certificate_names {
    bytes serial;   // content
    bytes issuer;   // whole
    bytes subject;  // content
};

bool read_certificate(bytes certificate, certificate_names& out) {
    der_value outer;
    der_value body;
    der_value skipped;
    der_value serial;
    der_value issuer;
    der_value subject;
    if (!DerReader(certificate).next(DER_SEQUENCE, outer) ||
        !DerReader(outer.content).next(DER_SEQUENCE, body))
        return false;
    DerReader fields(body.content);
    fields.next(DER_CONTEXT_0, skipped);  // version, absent in the first one
    if (!fields.next(DER_INTEGER, serial) || !fields.next(DER_SEQUENCE, skipped) ||
        !fields.next(DER_SEQUENCE, issuer) || !fields.next(DER_SEQUENCE, skipped) ||
        !fields.next(DER_SEQUENCE, subject))
        return false;
    out = {serial.content, issuer.whole, subject.content};
    return true;
}

// SignerInfo with the issuer and serial number of its certificate.
bool read_signer(bytes info, signed_data& out) {
    DerReader fields(info);
    der_value version;
    der_value identifier;
    der_value algorithm;
    der_value attributes;
    der_value key_algorithm;
    der_value signature;
    if (!fields.next(DER_INTEGER, version) || !fields.next(DER_SEQUENCE, identifier) ||
        !fields.next(DER_SEQUENCE, algorithm) || !fields.next(DER_CONTEXT_0, attributes) ||
        !fields.next(DER_SEQUENCE, key_algorithm) || !fields.next(DER_OCTET_STRING, signature) ||
        !read_digest_algorithm(algorithm.content, out.algorithm))
        return false;
    der_value rest;
    if (fields.next(DER_CONTEXT_1, rest))
        out.unsigned_attributes = rest.content;
    if (!fields.at_end())
        return false;
    out.signed_attributes = attributes.whole;
    out.signature = signature.content;

    bytes value;
    der_value inner;
    if (!find_attribute(attributes.content, oid_content_type, value) ||
        !DerReader(value).next(DER_OID, inner))
        return false;
    out.stated_type = inner.content;
    if (!find_attribute(attributes.content, oid_message_digest, value) ||
        !DerReader(value).next(DER_OCTET_STRING, inner))
        return false;
    out.stated_digest = inner.content;

    DerReader parts(identifier.content);
    der_value issuer;
    der_value serial;
    if (!parts.next(DER_SEQUENCE, issuer) || !parts.next(DER_INTEGER, serial))
        return false;
    // Two different certificates of one issuer and number may hold the same key: then who is named
    // would depend on who looks, and a policy could trust one where the name comes from the other.
    for (const bytes certificate : out.certificates) {
        certificate_names names;
        if (!read_certificate(certificate, names) || !same(names.serial, serial.content) ||
            !same(names.issuer, issuer.whole))
            continue;
        if (!out.signer.empty() && !same(out.signer, certificate))
            return false;
        out.signer = certificate;
        out.signer_subject = names.subject;
    }
    return !out.signer.empty();
}

}  // namespace

bool find_attribute(bytes attributes, bytes oid, bytes& value) {
    DerReader all(attributes);
    bool found = false;
    while (!all.at_end()) {
        der_value attribute;
        der_value name;
        der_value values;
        der_value only;
        if (!all.next(DER_SEQUENCE, attribute))
            return false;
        DerReader fields(attribute.content);
        if (!fields.next(DER_OID, name) || !fields.next(DER_SET, values))
            return false;
        if (!same(name.content, oid))
            continue;
        DerReader members(values.content);
        if (found || !members.next(only) || !members.at_end())
            return false;
        found = true;
        value = only.whole;
    }
    return found;
}

bool read_signed_data(bytes encoding, signed_data& out) {
    der_value outer;
    der_value type;
    der_value wrapped;
    der_value body;
    if (!DerReader(encoding).next(DER_SEQUENCE, outer))
        return false;
    DerReader info(outer.content);
    if (!info.next(DER_OID, type) || !same(type.content, oid_signed_data) ||
        !info.next(DER_CONTEXT_0, wrapped) || !info.at_end() ||
        !DerReader(wrapped.content).next(DER_SEQUENCE, body))
        return false;

    DerReader fields(body.content);
    der_value version;
    der_value algorithms;
    der_value content_info;
    if (!fields.next(DER_INTEGER, version) || !fields.next(DER_SET, algorithms) ||
        !fields.next(DER_SEQUENCE, content_info))
        return false;
    DerReader content(content_info.content);
    der_value explicit_content;
    der_value element;
    if (!content.next(DER_OID, type) || !content.next(DER_CONTEXT_0, explicit_content) ||
        !DerReader(explicit_content.content).next(element))
        return false;
    out.content_type = type.content;
    out.content = element.content;

    der_value certificates;
    der_value skipped;
    if (!fields.next(DER_CONTEXT_0, certificates))
        return false;
    DerReader each(certificates.content);
    while (!each.at_end()) {
        der_value certificate;
        if (!each.next(certificate) || out.certificates.size() == certificate_limit)
            return false;
        if (certificate.tag == DER_SEQUENCE)
            out.certificates.push_back(certificate.whole);
    }
    fields.next(DER_CONTEXT_1, skipped);  // revocation lists

    der_value signers;
    der_value signer;
    if (!fields.next(DER_SET, signers) || !fields.at_end())
        return false;
    DerReader one(signers.content);
    return one.next(DER_SEQUENCE, signer) && one.at_end() && read_signer(signer.content, out);
}

bool signature_holds(const signed_data& data) {
    if (!same(data.content_type, data.stated_type))
        return false;
    Hasher hasher(data.algorithm);
    hasher.add(data.content.data(), data.content.size());
    const std::vector<uint8_t> computed = hasher.finish();
    if (computed.empty() || !same(computed, data.stated_digest))
        return false;
    // What is signed is the set of attributes under its own tag, not under the one it is stored
    // with.
    std::vector<uint8_t> message(data.signed_attributes.begin(), data.signed_attributes.end());
    message.front() = DER_SET;
    return verify_signature(data.signer, data.algorithm, message, data.signature);
}

bool read_file_digest(const signed_data& data, stated_file_digest& out) {
    if (!same(data.content_type, oid_indirect_data))
        return false;
    DerReader fields(data.content);
    der_value kind;
    der_value type;
    der_value info;
    der_value algorithm;
    der_value value;
    if (!fields.next(DER_SEQUENCE, kind) || !fields.next(DER_SEQUENCE, info) || !fields.at_end() ||
        !DerReader(kind.content).next(DER_OID, type) ||
        (!same(type.content, oid_pe_image_data) &&
         !same(type.content, oid_individual_code_signing)))
        return false;
    DerReader parts(info.content);
    if (!parts.next(DER_SEQUENCE, algorithm) || !parts.next(DER_OCTET_STRING, value) ||
        !parts.at_end() || !read_digest_algorithm(algorithm.content, out.algorithm) ||
        value.content.size() != digest_size(out.algorithm))
        return false;
    out.value = value.content;
    return true;
}

}  // namespace orvu::sigcheck
