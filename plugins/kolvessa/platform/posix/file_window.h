#ifndef KOLVESSA_PLATFORM_POSIX_FILE_WINDOW_H
#define KOLVESSA_PLATFORM_POSIX_FILE_WINDOW_H

// The bytes of a file, read on demand. Reading instead of mapping, because a mapped page faults
// when somebody truncates the file; a short read just gives nothing. Two small windows are kept,
// the file's head and the place last read, so that walking a table costs one system call. Not
// shared between threads.

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>

#include "orvu_types.h"

namespace kolvessa::platform {

// A file descriptor, closed when it goes.
class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~FileDescriptor();

    int get() const { return descriptor_; }
    bool valid() const { return descriptor_ >= 0; }

  private:
    int descriptor_ = -1;
};

class FileWindow {
  public:
    // Opens a regular file by its framework path. Anything else is refused without blocking on it.
    bool open(const orvu_wchar* path);

    uint64_t size() const { return size_; }

    // `length` bytes at `offset`, or nothing when the file has not got them all. Valid until the
    // next call.
    std::span<const uint8_t> bytes(uint64_t offset, uint32_t length);

  private:
    static constexpr uint32_t HEAD_SIZE = 4096;
    static constexpr uint32_t WINDOW_SIZE = 8192;

    bool read(uint64_t offset, uint8_t* buffer, uint32_t length) const;

    FileDescriptor file_;
    uint64_t size_ = 0;
    uint32_t head_length_ = 0;
    uint32_t window_length_ = 0;
    uint64_t window_offset_ = 0;
    uint64_t large_size_ = 0;
    std::unique_ptr<uint8_t[]> large_;  // for what a window can't hold: an icon's image
    std::array<uint8_t, HEAD_SIZE> head_;
    std::array<uint8_t, WINDOW_SIZE> window_;
};

}  // namespace kolvessa::platform

#endif  // KOLVESSA_PLATFORM_POSIX_FILE_WINDOW_H
