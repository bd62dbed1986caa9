#include "standalone/sigcheck/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <optional>
#include <string>

#include "standalone/orvubase/core/path_map.h"
#include "standalone/orvubase/core/utf.h"

namespace orvu::sigcheck {
namespace {

int64_t nanoseconds(const timespec& time) {
    return static_cast<int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

}  // namespace

std::unique_ptr<SignedFile> SignedFile::open(const orvu_wchar* path) {
    const std::optional<std::string> framework = wide_to_utf8(path);
    if (!framework)
        return nullptr;
    const std::optional<std::string> native = path_resolve(*framework);
    if (!native)
        return nullptr;
    const int fd = ::open(native->c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0)
        return nullptr;
    std::unique_ptr<SignedFile> file(new SignedFile(fd));
    struct stat status = {};
    if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode))
        return nullptr;
    return file;
}

SignedFile::~SignedFile() {
    ::close(static_cast<int>(handle_));
}

bool SignedFile::identity(file_identity& out) const {
    struct stat status = {};
    if (::fstat(static_cast<int>(handle_), &status) != 0)
        return false;
    out = {static_cast<uint64_t>(status.st_dev), static_cast<uint64_t>(status.st_ino),
           static_cast<uint64_t>(status.st_size), nanoseconds(status.st_mtim),
           nanoseconds(status.st_ctim)};
    return true;
}

bool SignedFile::read(uint64_t offset, void* out, size_t size) const {
    auto* to = static_cast<uint8_t*>(out);
    while (size > 0) {
        const ssize_t got =
            ::pread(static_cast<int>(handle_), to, size, static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        to += got;
        offset += static_cast<uint64_t>(got);
        size -= static_cast<size_t>(got);
    }
    return true;
}

int64_t file_clock_now() {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return nanoseconds(now);
}

}  // namespace orvu::sigcheck
