#ifndef KOLVESSA_PLATFORM_POSIX_PE_LAYOUT_H
#define KOLVESSA_PLATFORM_POSIX_PE_LAYOUT_H

// Where the parts of a PE file lie in memory, as the Windows loader would map it. Refuses what that
// loader refuses: no headers, too many sections, sections outside the image or the file. Not shared
// between threads.

#include <cstdint>
#include <vector>

#include "plugins/kolvessa/platform/posix/file_window.h"

namespace kolvessa::platform {

class PeLayout {
  public:
    // One run of memory: `file_size` bytes of the file, then zeros up to `size`.
    struct segment {
        uint32_t address = 0;
        uint32_t size = 0;
        uint64_t file_offset = 0;
        uint32_t file_size = 0;
    };

    // False when the file is no valid image.
    bool parse(FileWindow& file);

    // The run that holds an address, or null.
    const segment* find(uint32_t address) const;

  private:
    struct header;
    bool add_flat(FileWindow& file, const header& pe);
    bool add_sections(FileWindow& file, const header& pe);
    bool add_section(const uint8_t* entry, const header& pe, uint64_t file_size);

    std::vector<segment> segments_;
};

}  // namespace kolvessa::platform

#endif  // KOLVESSA_PLATFORM_POSIX_PE_LAYOUT_H
