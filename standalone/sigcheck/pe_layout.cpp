#include "standalone/sigcheck/pe_layout.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "standalone/sigcheck/sigcheck_host.h"

namespace orvu::sigcheck {
namespace {

constexpr uint64_t file_header_size = 24;  // with the signature "PE\0\0"
constexpr uint64_t section_header_size = 40;
constexpr uint32_t security_directory = 4;
constexpr uint64_t certificate_header_size = 8;
constexpr uint16_t type_pkcs_signed_data = 2;
constexpr int entry_limit = 256;

// No system loads a larger one, and hashing takes as long as the file is large.
constexpr uint64_t file_limit = uint64_t{4} << 30;

uint16_t u16(const uint8_t* at) {
    return static_cast<uint16_t>(at[0] | at[1] << 8);
}
uint32_t u32(const uint8_t* at) {
    return uint32_t{u16(at)} | uint32_t{u16(at + 2)} << 16;
}

// Does the table share bytes with the content of a section? Such bytes would be loaded but not
// covered by the digest.
bool meets_a_section(const std::vector<uint8_t>& sections, const pe_layout& layout) {
    for (size_t at = 0; at + section_header_size <= sections.size(); at += section_header_size) {
        const uint64_t begin = u32(&sections[at + 20]);
        const uint64_t end = begin + u32(&sections[at + 16]);
        if (begin < end && begin < layout.table_end && layout.table < end)
            return true;
    }
    return false;
}

// Walks the table's entries to the first signature. Each entry starts at a multiple of 8 from the
// table's start and states its own length.
int32_t find_signature(const ReadableFile& file, pe_layout& layout) {
    uint64_t at = layout.table;
    for (int i = 0; i < entry_limit && layout.table_end - at > certificate_header_size; i++) {
        uint8_t header[certificate_header_size];
        if (!file.read(at, header, sizeof header))
            return SIGCHECK_NOT_OPENED;
        const uint64_t length = u32(header);
        if (length <= certificate_header_size || length > layout.table_end - at)
            return SIGCHECK_NOT_SIGNED;
        if (u16(header + 6) == type_pkcs_signed_data) {
            layout.signature = at + certificate_header_size;
            layout.signature_size = length - certificate_header_size;
            return SIGCHECK_OK;
        }
        const uint64_t step = (length + 7) / 8 * 8;
        if (step > layout.table_end - at)
            break;
        at += step;
    }
    return SIGCHECK_NOT_SIGNED;
}

}  // namespace

int32_t read_pe_layout(const ReadableFile& file, uint64_t size, pe_layout& out) {
    uint8_t dos[64];
    if (size < sizeof dos || size > file_limit)
        return SIGCHECK_NOT_PE;
    if (!file.read(0, dos, sizeof dos))
        return SIGCHECK_NOT_OPENED;
    if (dos[0] != 'M' || dos[1] != 'Z')
        return SIGCHECK_NOT_PE;
    const uint64_t header = u32(dos + 60);
    uint8_t fixed[file_header_size + 2];
    if (header > size || size - header < sizeof fixed)
        return SIGCHECK_NOT_PE;
    if (!file.read(header, fixed, sizeof fixed))
        return SIGCHECK_NOT_OPENED;
    if (u32(fixed) != 0x00004550)
        return SIGCHECK_NOT_PE;
    const uint64_t section_count = u16(fixed + 6);
    const uint64_t optional_size = u16(fixed + 20);
    const uint16_t magic = u16(fixed + file_header_size);
    if (magic != 0x10B && magic != 0x20B)
        return SIGCHECK_NOT_PE;
    const uint64_t directories = magic == 0x10B ? 96 : 112;  // offset in the optional header
    const uint64_t optional_at = header + file_header_size;
    if (optional_size < directories || optional_size > size - optional_at)
        return SIGCHECK_NOT_PE;
    const uint64_t sections_at = optional_at + optional_size;
    if (section_count * section_header_size > size - sections_at)
        return SIGCHECK_NOT_PE;

    std::vector<uint8_t> optional(optional_size);
    if (!file.read(optional_at, optional.data(), optional.size()))
        return SIGCHECK_NOT_OPENED;
    const uint32_t directory_count = u32(&optional[directories - 4]);
    const uint64_t entry = directories + uint64_t{security_directory} * 8;
    if (directory_count <= security_directory || entry + 8 > optional_size)
        return SIGCHECK_NOT_SIGNED;

    out.checksum = optional_at + 64;
    out.security_entry = optional_at + entry;
    out.table = u32(&optional[entry]);  // unlike the other directories', a file offset
    const uint64_t table_size = u32(&optional[entry + 4]);
    out.table_end = out.table + table_size;
    const uint64_t headers_size = u32(&optional[60]);
    const uint64_t headers_end =
        std::max(sections_at + section_count * section_header_size, std::min(headers_size, size));
    if (table_size == 0 || out.table < headers_end || out.table_end > size)
        return SIGCHECK_NOT_SIGNED;

    std::vector<uint8_t> sections(section_count * section_header_size);
    if (!file.read(sections_at, sections.data(), sections.size()))
        return SIGCHECK_NOT_OPENED;
    if (meets_a_section(sections, out))
        return SIGCHECK_NOT_SIGNED;
    return find_signature(file, out);
}

}  // namespace orvu::sigcheck
