#ifndef ORVU_SIGCHECK_FILE_H
#define ORVU_SIGCHECK_FILE_H

// An open file with the marks by which a change of it is noticed. One body a system (posix/,
// windows/). A value belongs to one thread; opening never waits for the other end of a pipe.

#include <compare>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "orvu_types.h"

namespace orvu::sigcheck {

// Two equal identities mean the same content, unless it was changed within one tick of the file
// system's clock. Times are in nanoseconds since some fixed moment of the system's.
struct file_identity {
    uint64_t device = 0;
    uint64_t inode = 0;
    uint64_t size = 0;
    int64_t modified = 0;
    int64_t changed = 0;
    auto operator<=>(const file_identity&) const = default;
};

// What an examination needs of a file.
class ReadableFile {
  public:
    virtual ~ReadableFile() = default;
    // Reads `size` bytes at `offset`; false when the file ends before or can't be read.
    virtual bool read(uint64_t offset, void* out, size_t size) const = 0;
    // The system's handle, a descriptor or a HANDLE; -1 when there is none.
    [[nodiscard]] virtual intptr_t handle() const { return -1; }
};

class SignedFile final : public ReadableFile {
  public:
    // The regular file at `path` (framework form), opened for reading and shared with everyone;
    // null when there is none that may be read.
    static std::unique_ptr<SignedFile> open(const orvu_wchar* path);
    ~SignedFile() override;
    SignedFile(const SignedFile&) = delete;
    SignedFile& operator=(const SignedFile&) = delete;

    // The marks as they are now; false when the system doesn't tell.
    bool identity(file_identity& out) const;
    bool read(uint64_t offset, void* out, size_t size) const override;
    [[nodiscard]] intptr_t handle() const override { return handle_; }

  private:
    explicit SignedFile(intptr_t handle) : handle_(handle) {}
    intptr_t handle_;
};

// The present on the clock that stamps files, as `file_identity` counts.
int64_t file_clock_now();

}  // namespace orvu::sigcheck

#endif  // ORVU_SIGCHECK_FILE_H
