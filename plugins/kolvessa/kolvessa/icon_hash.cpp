#include "plugins/kolvessa/kolvessa/icon_hash.h"

#include <optional>

#include "orvualgo.h"

namespace kolvessa {

namespace {

constexpr uint32_t RT_ICON_ID = 3;
constexpr uint32_t DIRECTORY_SIZE = 16;
constexpr uint32_t ENTRY_SIZE = 8;
constexpr uint32_t OFFSET_MASK = 0x7FFFFFFF;
constexpr uint32_t MAX_ICON_SIZE = 64U << 20;
constexpr uint32_t MAX_LANGUAGES = 16384;

// Fields of the image by their relative address; nothing where the image has none.
class Fields {
  public:
    explicit Fields(platform::ExecutableFile& file) : file_(file) {}

    std::optional<uint32_t> u16(uint64_t address) {
        const std::span<const uint8_t> bytes = at(address, 2);
        if (bytes.empty()) {
            return std::nullopt;
        }
        return bytes[0] | static_cast<uint32_t>(bytes[1]) << 8;
    }

    std::optional<uint32_t> u32(uint64_t address) {
        const std::span<const uint8_t> bytes = at(address, 4);
        if (bytes.empty()) {
            return std::nullopt;
        }
        return bytes[0] | static_cast<uint32_t>(bytes[1]) << 8 |
               static_cast<uint32_t>(bytes[2]) << 16 | static_cast<uint32_t>(bytes[3]) << 24;
    }

    // How many entries a directory says it has; 0 when it isn't there.
    uint32_t entries(uint64_t directory) {
        const std::optional<uint32_t> named = u16(directory + 12);
        const std::optional<uint32_t> ids = u16(directory + 14);
        return named && ids ? *named + *ids : 0;
    }

  private:
    std::span<const uint8_t> at(uint64_t address, uint32_t length) {
        return address > UINT32_MAX ? std::span<const uint8_t>()
                                    : file_.at(static_cast<uint32_t>(address), length);
    }

    platform::ExecutableFile& file_;
};

struct resource_root {
    int32_t code = 0;
    uint64_t address = 0;
};

resource_root find_root(Fields& image) {
    if (image.u16(0) != 0x5A4DU) {
        return {2};
    }
    const std::optional<uint32_t> header = image.u32(60);
    if (!header || image.u32(*header) != 0x4550U) {
        return {3};
    }
    const uint64_t signature = *header;
    const uint32_t directory = image.u16(signature + 24) == 0x20BU ? 152 : 136;
    const uint32_t address = image.u32(signature + directory).value_or(0);
    return address == 0 ? resource_root{6} : resource_root{0, address};
}

// The first language directory that has an entry, in the order of the tree.
class IconSearch {
  public:
    IconSearch(Fields& image, uint64_t root) : image_(image), root_(root) {}

    std::optional<uint64_t> run() {
        const uint32_t count = image_.entries(root_);
        for (uint32_t i = 0; i < count && !spent(); ++i) {
            const uint64_t entry = entry_of(root_, i);
            const std::optional<uint32_t> type = image_.u32(entry);
            if (!type) {
                return std::nullopt;
            }
            if (*type == RT_ICON_ID) {
                if (const std::optional<uint64_t> found = below(entry)) {
                    return found;
                }
            }
        }
        return std::nullopt;
    }

  private:
    static uint64_t entry_of(uint64_t directory, uint32_t index) {
        return directory + DIRECTORY_SIZE + uint64_t{ENTRY_SIZE} * index;
    }

    bool spent() const { return looked_at_ >= MAX_LANGUAGES; }

    std::optional<uint64_t> child(uint64_t entry) {
        const std::optional<uint32_t> offset = image_.u32(entry + 4);
        if (!offset) {
            return std::nullopt;
        }
        return root_ + (*offset & OFFSET_MASK);
    }

    std::optional<uint64_t> below(uint64_t type_entry) {
        ++looked_at_;
        const std::optional<uint64_t> icons = child(type_entry);
        if (!icons) {
            return std::nullopt;
        }
        const uint32_t count = image_.entries(*icons);
        for (uint32_t i = 0; i < count && !spent(); ++i) {
            ++looked_at_;
            const std::optional<uint64_t> languages = child(entry_of(*icons, i));
            if (!languages) {
                return std::nullopt;
            }
            if (image_.entries(*languages) != 0) {
                return languages;
            }
        }
        return std::nullopt;
    }

    Fields& image_;
    uint64_t root_;
    uint32_t looked_at_ = 0;
};

int32_t hash_icon(platform::ExecutableFile& file, char* text) {
    Fields image(file);
    const resource_root root = find_root(image);
    if (root.code != 0) {
        return root.code;
    }
    const std::optional<uint64_t> languages = IconSearch(image, root.address).run();
    const std::optional<uint32_t> offset =
        languages ? image.u32(*languages + DIRECTORY_SIZE + 4) : std::nullopt;
    if (!offset) {
        return 4;
    }
    const std::optional<uint32_t> address = image.u32(root.address + *offset);
    const std::optional<uint32_t> size = image.u32(root.address + *offset + 4);
    if (!address || !size || *size > MAX_ICON_SIZE) {
        return 4;
    }
    const std::span<const uint8_t> icon = file.at(*address, *size);
    if (icon.size() != *size) {
        return 4;
    }
    uint8_t digest[16] = {};
    const void* bytes = icon.empty() ? static_cast<const void*>(digest) : icon.data();
    const int32_t result = orvu_md5_calc(bytes, *size, digest);
    if (result != 0) {
        return result * 10 + 5;
    }
    orvu_md5_bin2str(digest, text);
    return 0;
}

}  // namespace

int32_t calc_icon_hash(platform::ExecutableFile& file, char* text) {
    switch (file.open_view()) {
        case platform::view_status::no_file:
            return 21;
        case platform::view_status::no_mapping:
            return 31;
        case platform::view_status::no_view:
            return 41;
        case platform::view_status::ok:
            break;
    }
    return hash_icon(file, text);
}

int32_t calc_icon_hash(const orvu_wchar* path, char* text) {
    if (path == nullptr) {
        return 11;
    }
    platform::ExecutableFile file(path);
    return calc_icon_hash(file, text);
}

}  // namespace kolvessa
