#include "plugins/kolvessa/platform/version_resource.h"

#include <array>
#include <optional>

#include "plugins/kolvessa/platform/little_endian.h"

namespace kolvessa::platform {

namespace {

constexpr uint32_t DIRECTORY_SIZE = 16;
constexpr uint32_t ENTRY_SIZE = 8;
constexpr uint32_t IS_DIRECTORY = 0x80000000;
constexpr uint32_t TYPE_VERSION = 16;
constexpr uint32_t ID_VERSION = 1;
constexpr uint32_t RESOURCE_DIRECTORY = 2;
constexpr uint32_t MAX_LANGUAGES = 1024;

// What the system looks for when no language is asked for: neutral, then English.
constexpr std::array<uint32_t, 3> PREFERRED_LANGUAGES = {0, 0x0409, 0x0009};

struct directory_entry {
    uint32_t id = 0;      // the system looks at 16 bits alone
    uint32_t offset = 0;  // from the root, the top bit cleared
    bool is_directory = false;
};

class ResourceTree {
  public:
    ResourceTree(ExecutableFile& file, uint32_t root) : file_(file), root_(root) {}

    // The ids of a directory are sorted and are searched as the system does, by halving.
    std::optional<directory_entry> find(uint32_t directory, uint32_t id, bool is_directory) {
        uint32_t named = 0;
        uint32_t ids = 0;
        if (!counts(directory, named, ids)) {
            return std::nullopt;
        }
        int64_t low = named;
        int64_t high = low + ids - 1;
        while (low <= high) {
            const int64_t middle = (low + high) / 2;
            const std::optional<directory_entry> found =
                entry(directory, static_cast<uint32_t>(middle));
            if (!found) {
                return std::nullopt;
            }
            if (found->id == id) {
                return found->is_directory == is_directory ? found : std::nullopt;
            }
            if (found->id > id) {
                high = middle - 1;
            } else {
                low = middle + 1;
            }
        }
        return std::nullopt;
    }

    // The number of a directory's entries, 0 for none and for a directory outside the image.
    uint32_t size(uint32_t directory) {
        uint32_t named = 0;
        uint32_t ids = 0;
        return counts(directory, named, ids) ? named + ids : 0;
    }

    // The first entry that is data and no directory.
    std::optional<directory_entry> first_data(uint32_t directory) {
        const uint32_t count = size(directory);
        for (uint32_t i = 0; i < count; ++i) {
            const std::optional<directory_entry> found = entry(directory, i);
            if (!found || !found->is_directory) {
                return found;
            }
        }
        return std::nullopt;
    }

    resource_data data(uint32_t offset) {
        const std::span<const uint8_t> bytes = at(offset, 8);
        if (bytes.empty()) {
            return {};
        }
        return {u32_at(bytes.data()), u32_at(bytes.data() + 4)};
    }

    std::optional<directory_entry> entry(uint32_t directory, uint32_t index) {
        const std::span<const uint8_t> bytes =
            at(uint64_t{directory} + DIRECTORY_SIZE + uint64_t{ENTRY_SIZE} * index, ENTRY_SIZE);
        if (bytes.empty()) {
            return std::nullopt;
        }
        const uint32_t offset = u32_at(bytes.data() + 4);
        return directory_entry{u16_at(bytes.data()), offset & ~IS_DIRECTORY,
                               (offset & IS_DIRECTORY) != 0};
    }

  private:
    std::span<const uint8_t> at(uint64_t offset, uint32_t length) {
        const uint64_t address = root_ + offset;
        return address > UINT32_MAX ? std::span<const uint8_t>()
                                    : file_.at(static_cast<uint32_t>(address), length);
    }

    bool counts(uint32_t directory, uint32_t& named, uint32_t& ids) {
        const std::span<const uint8_t> bytes = at(directory, DIRECTORY_SIZE);
        if (bytes.empty()) {
            return false;
        }
        named = u16_at(bytes.data() + 12);
        ids = u16_at(bytes.data() + 14);
        return true;
    }

    ExecutableFile& file_;
    uint64_t root_;
};

// The relative address of the resource directory, 0 when the image states none.
uint32_t resource_root(ExecutableFile& file) {
    std::span<const uint8_t> bytes = file.at(60, 4);
    if (bytes.empty()) {
        return 0;
    }
    const uint64_t optional = uint64_t{u32_at(bytes.data())} + 24;
    const auto field = [&](uint64_t offset) -> uint32_t {
        const uint64_t address = optional + offset;
        if (address > UINT32_MAX) {
            return 0;
        }
        const std::span<const uint8_t> value = file.at(static_cast<uint32_t>(address), 4);
        return value.empty() ? 0 : u32_at(value.data());
    };
    const uint32_t directories = (field(0) & 0xFFFF) == 0x20B ? 112 : 96;
    const uint32_t resources = directories + 8 * RESOURCE_DIRECTORY;
    // A directory without room for its own header is none.
    if (field(directories - 4) <= RESOURCE_DIRECTORY || field(resources + 4) < DIRECTORY_SIZE) {
        return 0;
    }
    return field(resources);
}

// The directory of the version resource's languages.
std::optional<directory_entry> languages(ResourceTree& tree) {
    std::optional<directory_entry> found = tree.find(0, TYPE_VERSION, true);
    return found ? tree.find(found->offset, ID_VERSION, true) : std::nullopt;
}

}  // namespace

resource_data find_version_resource(ExecutableFile& file) {
    const uint32_t root = resource_root(file);
    if (root == 0) {
        return {};
    }
    ResourceTree tree(file, root);
    const std::optional<directory_entry> list = languages(tree);
    if (!list) {
        return {};
    }
    std::optional<directory_entry> found;
    for (const uint32_t language : PREFERRED_LANGUAGES) {
        if (!found) {
            found = tree.find(list->offset, language, false);
        }
    }
    if (!found) {
        found = tree.first_data(list->offset);
    }
    return found ? tree.data(found->offset) : resource_data{};
}

bool version_resources_inside(ExecutableFile& file) {
    const uint32_t root = resource_root(file);
    if (root == 0) {
        return false;
    }
    ResourceTree tree(file, root);
    const std::optional<directory_entry> list = languages(tree);
    if (!list) {
        return false;
    }
    const uint32_t count = tree.size(list->offset);
    if (count == 0 || count > MAX_LANGUAGES) {
        return false;
    }
    for (uint32_t i = 0; i < count; ++i) {
        const std::optional<directory_entry> found = tree.entry(list->offset, i);
        if (!found || found->is_directory) {
            return false;
        }
        const resource_data data = tree.data(found->offset);
        if (!file.holds(data.address, data.size)) {
            return false;
        }
    }
    return true;
}

}  // namespace kolvessa::platform
