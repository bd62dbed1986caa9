#include "plugins/kolvessa/platform/posix/pe_layout.h"

#include <algorithm>

#include "plugins/kolvessa/platform/little_endian.h"

namespace kolvessa::platform {

namespace {

constexpr uint32_t DOS_HEADER_SIZE = 64;
constexpr uint32_t FILE_HEADER_SIZE = 24;  // signature and file header
constexpr uint32_t SECTION_ENTRY_SIZE = 40;
constexpr uint32_t MAX_SECTIONS = 96;  // the loader's own limit
constexpr uint32_t PAGE = 4096;
constexpr uint32_t SECTOR = 512;  // the loader maps whole sectors, whatever the file's alignment

// Sections that may be neither read nor written are mapped without access.
constexpr uint32_t ACCESSIBLE = 0xC0000000;

// The machine has to be one that 64-bit Windows runs on an x86 processor, of the optional header's
// width: images for other processors are not mapped there.
bool is_machine_of(uint32_t magic, uint32_t machine) {
    constexpr uint32_t I386 = 0x14C;
    constexpr uint32_t AMD64 = 0x8664;
    return (magic == 0x10B && machine == I386) || (magic == 0x20B && machine == AMD64);
}

uint64_t round_up(uint64_t value, uint32_t unit) {
    return (value + unit - 1) / unit * unit;
}

}  // namespace

struct PeLayout::header {
    uint32_t sections = 0;
    uint64_t section_table = 0;
    uint32_t section_alignment = 0;
    uint32_t file_alignment = 0;
    uint32_t image_size = 0;
    uint32_t headers_size = 0;
};

bool PeLayout::parse(FileWindow& file) {
    std::span<const uint8_t> bytes = file.bytes(0, DOS_HEADER_SIZE);
    if (bytes.empty() || u16_at(bytes.data()) != 0x5A4D) {
        return false;
    }
    const uint32_t pe_offset = u32_at(bytes.data() + 60);
    bytes = file.bytes(pe_offset, FILE_HEADER_SIZE);
    if (bytes.empty() || u32_at(bytes.data()) != 0x4550) {
        return false;
    }
    header pe;
    pe.sections = u16_at(bytes.data() + 6);
    const uint32_t machine = u16_at(bytes.data() + 4);
    const uint32_t optional_size = u16_at(bytes.data() + 20);
    const uint64_t optional_offset = uint64_t{pe_offset} + FILE_HEADER_SIZE;
    pe.section_table = optional_offset + optional_size;
    bytes = file.bytes(optional_offset, optional_size);
    if (bytes.size() < 64 || pe.sections > MAX_SECTIONS) {
        return false;
    }
    if (!is_machine_of(u16_at(bytes.data()), machine)) {
        return false;
    }
    pe.section_alignment = u32_at(bytes.data() + 32);
    pe.file_alignment = u32_at(bytes.data() + 36);
    pe.image_size = u32_at(bytes.data() + 56);
    pe.headers_size = u32_at(bytes.data() + 60);
    if (pe.image_size == 0 || round_up(pe.image_size, PAGE) > UINT32_MAX) {
        return false;
    }
    return pe.section_alignment % PAGE != 0 ? add_flat(file, pe) : add_sections(file, pe);
}

// An alignment below the page size (drivers) leaves nothing to lay out: the file is the image.
bool PeLayout::add_flat(FileWindow& file, const header& pe) {
    const std::span<const uint8_t> table =
        file.bytes(pe.section_table, pe.sections * SECTION_ENTRY_SIZE);
    if (table.size() != pe.sections * SECTION_ENTRY_SIZE ||
        pe.file_alignment != pe.section_alignment) {
        return false;
    }
    for (uint32_t i = 0; i < pe.sections; ++i) {
        const uint8_t* entry = table.data() + i * SECTION_ENTRY_SIZE;
        if (u32_at(entry + 12) != u32_at(entry + 20)) {
            return false;
        }
    }
    const auto size = static_cast<uint32_t>(std::min(file.size(), round_up(pe.image_size, PAGE)));
    segments_.push_back({0, size, 0, size});
    return true;
}

bool PeLayout::add_sections(FileWindow& file, const header& pe) {
    const uint32_t table_size = pe.sections * SECTION_ENTRY_SIZE;
    const std::span<const uint8_t> table = file.bytes(pe.section_table, table_size);
    if (table.size() != table_size) {
        return false;
    }
    segments_.reserve(pe.sections + 1);
    for (uint32_t i = 0; i < pe.sections; ++i) {
        if (!add_section(table.data() + i * SECTION_ENTRY_SIZE, pe, file.size())) {
            return false;
        }
    }
    // The headers come in whole pages, and last: an address that a section claims is the section's.
    const uint64_t pages = round_up(std::max(pe.headers_size, 1U), PAGE);
    const auto size = static_cast<uint32_t>(std::min(pages, round_up(pe.image_size, PAGE)));
    segments_.push_back({0, size, 0, static_cast<uint32_t>(std::min<uint64_t>(size, file.size()))});
    return true;
}

bool PeLayout::add_section(const uint8_t* entry, const header& pe, uint64_t file_size) {
    const uint32_t raw_size = u32_at(entry + 16);
    const uint32_t raw_offset = u32_at(entry + 20);
    const uint32_t virtual_size = u32_at(entry + 8);
    segment run;
    run.address = u32_at(entry + 12);
    const uint64_t size = round_up(virtual_size == 0 ? raw_size : virtual_size, PAGE);
    if (run.address % PAGE != 0 || run.address + size > round_up(pe.image_size, PAGE)) {
        return false;
    }
    run.size = static_cast<uint32_t>(size);
    if (raw_size != 0 && raw_offset != 0) {
        run.file_offset = raw_offset / SECTOR * SECTOR;
        const uint64_t wanted =
            std::min(round_up(uint64_t{raw_size} + raw_offset % SECTOR, SECTOR), size);
        if (run.file_offset >= file_size ||
            run.file_offset + wanted > round_up(file_size, SECTOR)) {
            return false;
        }
        run.file_size = static_cast<uint32_t>(std::min(wanted, file_size - run.file_offset));
    }
    if ((u32_at(entry + 36) & ACCESSIBLE) != 0) {
        segments_.push_back(run);
    }
    return true;
}

const PeLayout::segment* PeLayout::find(uint32_t address) const {
    for (const segment& run : segments_) {
        if (address >= run.address && address - run.address < run.size) {
            return &run;
        }
    }
    return nullptr;
}

}  // namespace kolvessa::platform
