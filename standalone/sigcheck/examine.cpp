#include "standalone/sigcheck/examine.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "standalone/sigcheck/pe_layout.h"
#include "standalone/sigcheck/sigcheck_host.h"
#include "standalone/sigcheck/subject_name.h"

namespace orvu::sigcheck {
namespace {

constexpr uint64_t signature_limit = 16U << 20;
constexpr size_t buffer_size = 256U << 10;

// Hashes the bytes from `begin` up to `end`.
bool hash_range(const ReadableFile& file, uint64_t begin, uint64_t end, uint8_t* buffer,
                Hasher& hasher) {
    while (begin < end) {
        const size_t chunk = std::min<uint64_t>(end - begin, buffer_size);
        if (!file.read(begin, buffer, chunk))
            return false;
        hasher.add(buffer, chunk);
        begin += chunk;
    }
    return true;
}

// Hashes the file without its checksum, the directory entry of its signature and the certificate
// table, and compares.
int32_t compare_digest(const ReadableFile& file, uint64_t size, const pe_layout& layout,
                       const stated_file_digest& stated) {
    const std::unique_ptr<uint8_t[]> buffer(new uint8_t[buffer_size]);
    Hasher hasher(stated.algorithm);
    if (!hash_range(file, 0, layout.checksum, buffer.get(), hasher) ||
        !hash_range(file, layout.checksum + 4, layout.security_entry, buffer.get(), hasher) ||
        !hash_range(file, layout.security_entry + 8, layout.table, buffer.get(), hasher) ||
        !hash_range(file, layout.table_end, size, buffer.get(), hasher))
        return SIGCHECK_NOT_OPENED;
    return same(hasher.finish(), stated.value) ? SIGCHECK_OK : SIGCHECK_BROKEN;
}

}  // namespace

verdict examine(const ReadableFile& file, uint64_t size, const TrustRoots* roots,
                const orvu_wchar* path) {
    pe_layout layout;
    if (const int32_t state = read_pe_layout(file, size, layout); state != SIGCHECK_OK)
        return {.state = state};
    if (layout.signature_size > signature_limit)
        return {.state = SIGCHECK_MALFORMED};
    std::vector<uint8_t> encoding(layout.signature_size);
    if (!file.read(layout.signature, encoding.data(), encoding.size()))
        return {.state = SIGCHECK_NOT_OPENED};

    signed_data data;
    stated_file_digest stated;
    if (!read_signed_data(encoding, data) || !read_file_digest(data, stated))
        return {.state = SIGCHECK_MALFORMED};
    if (!signature_holds(data))
        return {.state = SIGCHECK_BROKEN};
    if (const int32_t state = compare_digest(file, size, layout, stated); state != SIGCHECK_OK)
        return {.state = state};

    verdict found{.state = SIGCHECK_OK, .intact = true, .name = subject_name(data.signer_subject)};
    if (roots != nullptr)
        found.trusted =
            roots->vouch_for(data, {file, path, layout.signature == layout.table + 8}) ? 1 : 0;
    if (found.name.empty())
        found.state = SIGCHECK_NO_NAME;
    else if (found.trusted == 0)
        found.state = SIGCHECK_NOT_TRUSTED;
    return found;
}

}  // namespace orvu::sigcheck
