#include "plugins/kolvessa/platform/executable_file.h"

#include <windows.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "plugins/kolvessa/platform/version_resource.h"

namespace kolvessa::platform {

namespace {

class Handle {
  public:
    explicit Handle(HANDLE handle = nullptr) : handle_(handle) {}
    Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~Handle() {
        if (valid()) {
            CloseHandle(handle_);
        }
    }
    HANDLE get() const { return handle_; }
    bool valid() const { return handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE; }

  private:
    HANDLE handle_;
};

struct unmap_view {
    void operator()(const uint8_t* view) const { UnmapViewOfFile(view); }
};

// The longest block and as much again, which is what the call asks for a block of that length.
constexpr uint32_t MAX_BLOCK_SIZE = 2 * 0x10000 + 4;

// A readable stretch of the view, by its distance from the start.
struct stretch {
    uint64_t begin;
    uint64_t end;
};

bool is_readable(const MEMORY_BASIC_INFORMATION& region) {
    return region.State == MEM_COMMIT && (region.Protect & (PAGE_NOACCESS | PAGE_GUARD)) == 0 &&
           region.Protect != PAGE_EXECUTE;
}

}  // namespace

struct ExecutableFile::State {
    explicit State(const orvu_wchar* framework_path) : path(framework_path) {}

    const orvu_wchar* path;
    bool opened = false;
    view_status status = view_status::no_file;
    Handle mapping;
    std::unique_ptr<const uint8_t, unmap_view> view;  // goes before its mapping
    std::vector<stretch> readable;

    view_status open();
    void measure();
};

view_status ExecutableFile::State::open() {
    const Handle file(path == nullptr ? nullptr
                                      : CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr,
                                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.valid()) {
        return view_status::no_file;
    }
    mapping =
        Handle(CreateFileMappingW(file.get(), nullptr, SEC_IMAGE | PAGE_READONLY, 0, 0, nullptr));
    if (!mapping.valid()) {
        return view_status::no_mapping;
    }
    view.reset(static_cast<const uint8_t*>(MapViewOfFile(mapping.get(), FILE_MAP_READ, 0, 0, 0)));
    if (!view) {
        return view_status::no_view;
    }
    measure();
    return view_status::ok;
}

// Sections that the file declares unreadable, and gaps between them, are not to be touched.
void ExecutableFile::State::measure() {
    uint64_t offset = 0;
    MEMORY_BASIC_INFORMATION region;
    while (VirtualQuery(view.get() + offset, &region, sizeof region) == sizeof region &&
           region.AllocationBase == view.get() && region.RegionSize != 0) {
        if (is_readable(region)) {
            if (!readable.empty() && readable.back().end == offset) {
                readable.back().end += region.RegionSize;
            } else {
                readable.push_back({offset, offset + region.RegionSize});
            }
        }
        offset += region.RegionSize;
    }
}

ExecutableFile::ExecutableFile(const orvu_wchar* path) : state_(std::make_unique<State>(path)) {}

ExecutableFile::~ExecutableFile() = default;

view_status ExecutableFile::open_view() {
    if (!state_->opened) {
        state_->status = state_->open();
        state_->opened = true;
    }
    return state_->status;
}

std::span<const uint8_t> ExecutableFile::at(uint32_t address, uint32_t length) {
    for (const stretch& part : state_->readable) {
        if (address >= part.begin && uint64_t{address} + length <= part.end) {
            return {state_->view.get() + address, length};
        }
    }
    return {};
}

bool ExecutableFile::holds(uint32_t address, uint32_t length) const {
    for (const stretch& part : state_->readable) {
        if (address >= part.begin && uint64_t{address} + length <= part.end) {
            return length != 0;
        }
    }
    return false;
}

uint32_t ExecutableFile::version_size() {
    if (open_view() != view_status::ok || !version_resources_inside(*this)) {
        return 0;
    }
    DWORD handle = 0;
    return std::min<uint32_t>(GetFileVersionInfoSizeW(state_->path, &handle), MAX_BLOCK_SIZE);
}

bool ExecutableFile::version_read(std::span<uint8_t> block) {
    return GetFileVersionInfoW(state_->path, 0, static_cast<DWORD>(block.size()), block.data()) !=
           FALSE;
}

}  // namespace kolvessa::platform
