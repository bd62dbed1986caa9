#include "standalone/qiv_ejs/whole_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <optional>
#include <system_error>
#include <utility>

#include "standalone/orvubase/core/path_map.h"
#include "standalone/qiv_ejs/qiv_ejs_host.h"

namespace orvu::ejs {
namespace {

class Descriptor {
  public:
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }
    [[nodiscard]] int get() const { return fd_; }
    [[nodiscard]] bool valid() const { return fd_ >= 0; }
    // The result of close(2): a network file system may report a lost write only here.
    int close() {
        const int result = fd_ >= 0 ? ::close(fd_) : 0;
        fd_ = -1;
        return result;
    }

  private:
    int fd_;
};

bool fail(failure& why, int32_t kind, std::string reason) {
    why = {kind, std::move(reason)};
    return false;
}

bool fail_errno(failure& why, int32_t kind, const char* what) {
    return fail(why, kind, std::string(what) + ": " + std::generic_category().message(errno));
}

// The file that `path` leads to, when it is a symbolic link. One that leads nowhere is refused.
bool follow_link(std::string& path, failure& why) {
    struct stat status = {};
    if (::lstat(path.c_str(), &status) != 0 || !S_ISLNK(status.st_mode))
        return true;
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                           &std::free);
    if (!real)
        return fail_errno(why, QIV_EJS_NOT_WRITTEN, "the link could not be followed");
    path = real.get();
    return true;
}

bool write_all(int fd, std::string_view data) {
    while (!data.empty()) {
        const ssize_t written = ::write(fd, data.data(), data.size());
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

// A temporary file of a folder: removed again unless it was moved to its final name.
class TemporaryFile {
  public:
    TemporaryFile(int folder, mode_t mode) : folder_(folder), name_(temporary_name()) {
        fd_ = ::openat(folder, name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                       mode);
        made_ = fd_ >= 0;
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (fd_ >= 0)
            ::close(fd_);
        if (made_)
            ::unlinkat(folder_, name_.c_str(), 0);
    }
    [[nodiscard]] bool made() const { return made_; }

    // Takes over what people see of the file that is replaced. Only root may give a file away; for
    // everyone else the owner stays the writer, as it would for any new file.
    bool take_mode(const struct stat& old) {
        if (::fchown(fd_, old.st_uid, old.st_gid) != 0 && errno != EPERM && errno != EINVAL)
            return false;
        return ::fchmod(fd_, old.st_mode & 07777) == 0;
    }
    bool fill(std::string_view data) {
        if (!write_all(fd_, data) || ::fsync(fd_) != 0)
            return false;
        return ::close(std::exchange(fd_, -1)) == 0;
    }
    bool move_to(const char* name) {
        if (::renameat(folder_, name_.c_str(), folder_, name) != 0)
            return false;
        made_ = false;
        return true;
    }

  private:
    int folder_;
    std::string name_;
    int fd_ = -1;
    bool made_ = false;
};

}  // namespace

bool read_whole_file(const char* path, size_t limit, content& out, failure& why) {
    const std::optional<std::string> native = path_resolve(path);
    if (!native)
        return fail(why, QIV_EJS_MISSING, "no such file");
    const Descriptor file(::open(native->c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file.valid()) {
        if (errno == ENOENT || errno == ENOTDIR)
            return fail(why, QIV_EJS_MISSING, "no such file");
        if (errno == ENXIO || errno == ENODEV)  // a socket, or a device without its driver
            return fail(why, QIV_EJS_NOT_A_FILE, "no regular file");
        return fail_errno(why, QIV_EJS_NOT_OPENED, "could not be opened");
    }
    struct stat status = {};
    if (::fstat(file.get(), &status) != 0)
        return fail_errno(why, QIV_EJS_NOT_OPENED, "could not be opened");
    if (!S_ISREG(status.st_mode))
        return fail(why, QIV_EJS_NOT_A_FILE, "no regular file");
    const std::string too_large = "larger than " + std::to_string(limit) + " bytes";
    if (static_cast<uint64_t>(status.st_size) > limit)
        return fail(why, QIV_EJS_TOO_LARGE, too_large);

    // One byte more than the size, so that the end is met without asking again when nothing grew.
    size_t capacity = static_cast<size_t>(status.st_size) + 1;
    out.data.reset(new char[capacity]);
    out.size = 0;
    for (;;) {
        const ssize_t got = ::read(file.get(), out.data.get() + out.size, capacity - out.size);
        if (got < 0) {
            if (errno == EINTR)
                continue;
            return fail_errno(why, QIV_EJS_NOT_OPENED, "could not be read");
        }
        if (got == 0)
            return true;
        out.size += static_cast<size_t>(got);
        if (out.size > limit)
            return fail(why, QIV_EJS_TOO_LARGE, too_large);
        if (out.size < capacity)
            continue;
        capacity = capacity + capacity / 2 + 4096;
        std::unique_ptr<char[]> larger(new char[capacity]);
        std::char_traits<char>::copy(larger.get(), out.data.get(), out.size);
        out.data = std::move(larger);
    }
}

bool replace_file(const char* path, std::string_view data, failure& why) {
    const std::optional<std::string> resolved = path_resolve(path);
    if (!resolved)
        return fail(why, QIV_EJS_NOT_WRITTEN, "no such folder");
    std::string native = *resolved;
    if (!follow_link(native, why))
        return false;
    const size_t slash = native.rfind('/');
    const std::string folder_path = slash == std::string::npos ? "." : native.substr(0, slash + 1);
    const std::string name = slash == std::string::npos ? native : native.substr(slash + 1);
    if (name.empty() || name == "." || name == "..")
        return fail(why, QIV_EJS_NOT_A_FILE, "no regular file");

    const Descriptor folder(::open(folder_path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.valid())
        return fail_errno(why, QIV_EJS_NOT_WRITTEN, "the folder could not be opened");
    struct stat old = {};
    const bool replaces = ::fstatat(folder.get(), name.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0;
    if (replaces && !S_ISREG(old.st_mode))
        return fail(why, QIV_EJS_NOT_A_FILE, "no regular file");

    TemporaryFile file(folder.get(), replaces ? 0600 : 0666);
    if (!file.made())
        return fail_errno(why, QIV_EJS_NOT_WRITTEN, "no file could be made beside it");
    if (replaces && !file.take_mode(old))
        return fail_errno(why, QIV_EJS_NOT_WRITTEN, "the mode could not be kept");
    if (!file.fill(data))
        return fail_errno(why, QIV_EJS_NOT_WRITTEN, "could not be written");
    if (!file.move_to(name.c_str()))
        return fail_errno(why, QIV_EJS_NOT_WRITTEN, "could not be replaced");
    if (::fsync(folder.get()) != 0)
        return fail_errno(why, QIV_EJS_NOT_WRITTEN,
                          "replaced, but its folder could not be flushed");
    return true;
}

}  // namespace orvu::ejs
