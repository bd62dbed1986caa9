#include "plugins/kolvessa/platform/posix/file_window.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>

#include "plugins/kolvessa/platform/posix/native_path.h"

namespace kolvessa::platform {

namespace {

// Without blocking: a named pipe that nobody writes to must not hold a decision up.
int open_to_read(const std::string& path) {
    return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
}

}  // namespace

FileDescriptor::~FileDescriptor() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

bool FileWindow::open(const orvu_wchar* path) {
    const std::string native = native_path(path);
    if (native.empty()) {
        return false;
    }
    FileDescriptor file(open_to_read(native));
    if (!file.valid() && (errno == ENOENT || errno == ENOTDIR)) {
        const std::string other = find_without_case(native);
        if (!other.empty()) {
            file = FileDescriptor(open_to_read(other));
        }
    }
    struct stat status;
    if (!file.valid() || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    size_ = static_cast<uint64_t>(status.st_size);
    file_ = std::move(file);
    const auto head = static_cast<uint32_t>(std::min<uint64_t>(size_, HEAD_SIZE));
    head_length_ = read(0, head_.data(), head) ? head : 0;
    return true;
}

bool FileWindow::read(uint64_t offset, uint8_t* buffer, uint32_t length) const {
    uint32_t done = 0;
    while (done < length) {
        const ssize_t count =
            pread(file_.get(), buffer + done, length - done, static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        done += static_cast<uint32_t>(count);
    }
    return true;
}

std::span<const uint8_t> FileWindow::bytes(uint64_t offset, uint32_t length) {
    if (offset > size_ || length > size_ - offset) {
        return {};
    }
    if (offset + length <= head_length_) {
        return {head_.data() + offset, length};
    }
    if (length > WINDOW_SIZE) {
        if (large_size_ < length) {
            large_ = std::make_unique_for_overwrite<uint8_t[]>(length);
            large_size_ = length;
        }
        if (!read(offset, large_.get(), length)) {
            return {};
        }
        return {large_.get(), length};
    }
    if (offset < window_offset_ || offset + length > window_offset_ + window_length_) {
        const auto wanted = static_cast<uint32_t>(std::min<uint64_t>(size_ - offset, WINDOW_SIZE));
        window_length_ = 0;
        if (!read(offset, window_.data(), wanted)) {
            return {};
        }
        window_offset_ = offset;
        window_length_ = wanted;
    }
    return {window_.data() + (offset - window_offset_), length};
}

}  // namespace kolvessa::platform
