#ifndef KOLVESSA_PLATFORM_EXECUTABLE_FILE_H
#define KOLVESSA_PLATFORM_EXECUTABLE_FILE_H

// One executable file, opened for one extraction of attributes: its bytes as they would lie in
// memory as an image, and its version block. What is asked for is read, nothing else: the cost does
// not depend on the size of the file. A hostile, truncated or changing file answers "no data",
// never a fault. Not shared between threads; any thread may have its own.

#include <cstdint>
#include <memory>
#include <span>

#include "orvu_types.h"

namespace kolvessa::platform {

enum class view_status {
    ok,
    no_file,     // the file can't be opened for reading
    no_mapping,  // it is no valid image
    no_view,     // the image can't be viewed
};

class ExecutableFile {
  public:
    // A framework path, which may be null and must outlive the object. Nothing is opened yet.
    explicit ExecutableFile(const orvu_wchar* path);
    ~ExecutableFile();
    ExecutableFile(const ExecutableFile&) = delete;
    ExecutableFile& operator=(const ExecutableFile&) = delete;

    // Opens the image view; a second call gives the first one's result.
    view_status open_view();

    // `length` bytes at a relative virtual address, or nothing when any of them lies outside the
    // image or the file. Needs an open view. Valid until the next call of any member.
    std::span<const uint8_t> at(uint32_t address, uint32_t length);

    // Whether those bytes, at least one, lie inside the image and the file; none of them is read.
    bool holds(uint32_t address, uint32_t length) const;

    // How large a block the version resource needs; 0 when the file has none or can't be read. A
    // block states its length in 16 bits, so a larger resource needs no more.
    uint32_t version_size();

    // Fills a zeroed block of version_size() bytes; false when the resource can't be read.
    bool version_read(std::span<uint8_t> block);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kolvessa::platform

#endif  // KOLVESSA_PLATFORM_EXECUTABLE_FILE_H
