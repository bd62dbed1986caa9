#include "plugins/kolvessa/platform/executable_file.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "plugins/kolvessa/platform/posix/file_window.h"
#include "plugins/kolvessa/platform/posix/pe_layout.h"
#include "plugins/kolvessa/platform/version_resource.h"

namespace kolvessa::platform {

namespace {

constexpr uint32_t MAX_VERSION_SIZE = 0x10000;

// Ranges that have to be pieced together stay small: a real linker never makes one.
constexpr uint32_t JOIN_LIMIT = 1U << 20;

}  // namespace

struct ExecutableFile::State {
    explicit State(const orvu_wchar* framework_path) : path(framework_path) {}

    const orvu_wchar* path;
    bool opened = false;
    view_status status = view_status::no_file;
    FileWindow file;
    PeLayout layout;
    std::vector<uint8_t> joined;  // a range that no single read gives
    resource_data version;

    view_status open() {
        if (!file.open(path)) {
            return view_status::no_file;
        }
        return layout.parse(file) ? view_status::ok : view_status::no_mapping;
    }

    bool join(uint32_t address, uint32_t length);
};

// Collects a range that crosses from one run into the next or from file bytes into zeros.
bool ExecutableFile::State::join(uint32_t address, uint32_t length) {
    constexpr uint32_t CHUNK = 4096;
    joined.clear();
    while (joined.size() < length) {
        const auto done = static_cast<uint32_t>(joined.size());
        const PeLayout::segment* run = layout.find(address + done);
        if (run == nullptr) {
            return false;
        }
        const uint32_t at = address + done - run->address;
        const uint32_t left = std::min(length - done, run->size - at);
        if (at >= run->file_size) {
            joined.resize(done + left);
            continue;
        }
        const uint32_t take = std::min({left, run->file_size - at, CHUNK});
        const std::span<const uint8_t> part = file.bytes(run->file_offset + at, take);
        if (part.empty()) {
            return false;
        }
        joined.insert(joined.end(), part.begin(), part.end());
    }
    return true;
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
    const PeLayout::segment* run = state_->layout.find(address);
    if (run == nullptr || length == 0 || length > UINT32_MAX - address) {
        return {};
    }
    const uint32_t offset = address - run->address;
    if (offset < run->file_size && length <= run->file_size - offset) {
        return state_->file.bytes(run->file_offset + offset, length);
    }
    if (length > JOIN_LIMIT || !state_->join(address, length)) {
        return {};
    }
    return state_->joined;
}

bool ExecutableFile::holds(uint32_t address, uint32_t length) const {
    uint64_t at = address;
    const uint64_t end = at + length;
    while (at < end) {
        const PeLayout::segment* run =
            at > UINT32_MAX ? nullptr : state_->layout.find(static_cast<uint32_t>(at));
        if (run == nullptr) {
            return false;
        }
        at = uint64_t{run->address} + run->size;
    }
    return length != 0;
}

uint32_t ExecutableFile::version_size() {
    if (open_view() != view_status::ok || !version_resources_inside(*this)) {
        return 0;
    }
    state_->version = find_version_resource(*this);
    // The block has room for twice the text, as the one of the Windows call has.
    state_->version.size = std::min(state_->version.size, MAX_VERSION_SIZE);
    return state_->version.size == 0 ? 0 : state_->version.size * 2 + 4;
}

bool ExecutableFile::version_read(std::span<uint8_t> block) {
    const resource_data& version = state_->version;
    const std::span<const uint8_t> bytes = at(version.address, version.size);
    if (bytes.empty() || bytes.size() > block.size()) {
        return false;
    }
    std::memcpy(block.data(), bytes.data(), bytes.size());
    return true;
}

}  // namespace kolvessa::platform
