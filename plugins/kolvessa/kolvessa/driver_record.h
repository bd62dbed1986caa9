#ifndef KOLVESSA_KOLVESSA_DRIVER_RECORD_H
#define KOLVESSA_KOLVESSA_DRIVER_RECORD_H

#include <cstdint>
#include <cstring>

#include "plugins/kolvessa/text.h"

namespace kolvessa {

// The driver's record of one process start, in place: 32 bits of flags, the parent's and the
// process's identifier with 64 bits each, 8 bytes that nobody reads, and the path. It is packed and
// may lie at any address. It belongs to the driver: one thread uses it, until its message is
// completed.
class DriverRecord {
  public:
    static constexpr uint32_t report_only = 4;  // the process is not to be identified
    static constexpr uint32_t isappid = 8;      // our answer: the decision did not fail

    explicit DriverRecord(void* bytes) : bytes_(static_cast<unsigned char*>(bytes)) {}

    uint32_t flags() const { return read<uint32_t>(0); }
    uint64_t parent_pid() const { return read<uint64_t>(4); }
    uint64_t pid() const { return read<uint64_t>(12); }

    // Sets the answer and leaves the other flags as they are.
    void set_isappid() {
        const uint32_t value = flags() | isappid;
        std::memcpy(bytes_, &value, sizeof value);
    }

    // The path where it lies, or its copy in `storage` where no wide text may lie. Only the copy
    // can throw.
    const orvu_wchar* path(wide_string& storage) const {
        const unsigned char* const text = bytes_ + path_offset;
        if (reinterpret_cast<uintptr_t>(text) % alignof(orvu_wchar) == 0) {
            return reinterpret_cast<const orvu_wchar*>(text);
        }
        size_t length = 0;
        while (unit(text, length) != 0) {
            ++length;
        }
        storage.resize(length);
        std::memcpy(storage.data(), text, length * sizeof(orvu_wchar));
        return storage.c_str();
    }

  private:
    static constexpr size_t path_offset = 28;

    template <typename Value>
    Value read(size_t offset) const {
        Value value = 0;
        std::memcpy(&value, bytes_ + offset, sizeof value);
        return value;
    }

    static orvu_wchar unit(const unsigned char* text, size_t index) {
        orvu_wchar value = 0;
        std::memcpy(&value, text + index * sizeof value, sizeof value);
        return value;
    }

    unsigned char* bytes_;
};

}  // namespace kolvessa

#endif  // KOLVESSA_KOLVESSA_DRIVER_RECORD_H
