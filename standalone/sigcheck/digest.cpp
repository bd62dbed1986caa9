#include "standalone/sigcheck/crypto.h"

namespace orvu::sigcheck {
namespace {

constexpr uint8_t sha1_oid[] = {0x2B, 0x0E, 0x03, 0x02, 0x1A};
constexpr uint8_t sha2_prefix[] = {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02};

}  // namespace

std::optional<digest> digest_of(bytes oid) {
    if (same(oid, sha1_oid))
        return digest::sha1;
    if (oid.size() != sizeof sha2_prefix + 1 || !same(oid.first(sizeof sha2_prefix), sha2_prefix))
        return std::nullopt;
    switch (oid.back()) {
        case 1:
            return digest::sha256;
        case 2:
            return digest::sha384;
        case 3:
            return digest::sha512;
        default:
            return std::nullopt;
    }
}

size_t digest_size(digest algorithm) {
    switch (algorithm) {
        case digest::sha1:
            return 20;
        case digest::sha256:
            return 32;
        case digest::sha384:
            return 48;
        case digest::sha512:
            return 64;
    }
    return 0;
}

}  // namespace orvu::sigcheck
