#ifndef KOLVESSA_FUZZ_INPUT_FILE_H
#define KOLVESSA_FUZZ_INPUT_FILE_H

// The fuzzer's input as a file in memory, under one name for the life of the process.

#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace kolvessa::fuzz {

class InputFile {
  public:
    InputFile() : path_("/dev/shm/kolvessa-fuzz-" + std::to_string(getpid())) {}
    ~InputFile() { unlink(path_.c_str()); }
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    void write(const uint8_t* data, size_t size) const {
        const int file = open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (file < 0 || ::write(file, data, size) != static_cast<ssize_t>(size)) {
            std::abort();
        }
        close(file);
    }

    const std::string& native() const { return path_; }

    // The framework's form.
    std::u16string framework() const {
        std::u16string path = u"Z:" + std::u16string(path_.begin(), path_.end());
        for (char16_t& c : path) {
            c = c == u'/' ? u'\\' : c;
        }
        return path;
    }

  private:
    std::string path_;
};

}  // namespace kolvessa::fuzz

#endif  // KOLVESSA_FUZZ_INPUT_FILE_H
