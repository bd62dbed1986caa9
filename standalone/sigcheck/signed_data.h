#ifndef ORVU_SIGCHECK_SIGNED_DATA_H
#define ORVU_SIGCHECK_SIGNED_DATA_H

// The parts of a PKCS#7 signature as Authenticode uses it: one signer, a content of a type of its
// own, signed attributes. Every view points into the encoding that was read, which the caller
// keeps. Reading proves nothing; `signature_holds` does. Free of state, any thread.

#include <cstdint>
#include <vector>

#include "standalone/sigcheck/bytes.h"
#include "standalone/sigcheck/crypto.h"

namespace orvu::sigcheck {

struct signed_data {
    bytes content_type;  // content of the object identifier
    bytes content;       // what is signed: the content's element without tag and length
    std::vector<bytes> certificates;  // whole elements; at most 128 are taken
    bytes signer;                     // one of them: the signing certificate
    bytes signer_subject;             // its subject, the content of the name's SEQUENCE
    digest algorithm = digest::sha256;
    bytes signed_attributes;  // whole element, tagged [0] as it is stored
    bytes stated_type;        // the signed contentType attribute
    bytes stated_digest;      // the signed messageDigest attribute
    bytes signature;
    bytes unsigned_attributes;  // content, empty when there are none
};

// Reads the first DER element of `encoding`; what follows it (padding) is ignored. False when it
// isn't such a signature, its signer's certificate isn't among the certificates or is not the only
// one of its issuer and number, or its digest algorithm is out of use.
bool read_signed_data(bytes encoding, signed_data& out);

// The content hashes to the signed digest, is of the signed type, and the signature over the signed
// attributes verifies with the signer's certificate.
bool signature_holds(const signed_data& data);

// The digest that an Authenticode content states for its file.
struct stated_file_digest {
    digest algorithm = digest::sha256;
    bytes value;
};

// Reads the content of a signature over a PE file; false when it is of another kind.
bool read_file_digest(const signed_data& data, stated_file_digest& out);

// The one value of the attribute with the object identifier `oid` in a set of attributes; false
// when it isn't there, is there twice, or has several values.
bool find_attribute(bytes attributes, bytes oid, bytes& value);

}  // namespace orvu::sigcheck

#endif  // ORVU_SIGCHECK_SIGNED_DATA_H
