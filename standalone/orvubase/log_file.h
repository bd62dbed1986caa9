#ifndef ORVU_STANDALONE_ORVUBASE_LOG_FILE_H
#define ORVU_STANDALONE_ORVUBASE_LOG_FILE_H

// The rotating log file: LOG_FILE_NAME in the folder given, and beside it the files that were full,
// numbered from 1 for the youngest. Used by one thread at a time. A file that cannot be opened or
// written is tried again after a pause, so that a disk that was full for a while is no reason to
// restart the host.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace orvu {

constexpr const char* LOG_FILE_NAME = "orvu.log";
constexpr size_t LOG_FILE_BYTES = 4U << 20U;
constexpr int32_t LOG_FILES_MOST = 100;
constexpr std::chrono::milliseconds LOG_RETRY_PAUSE{1000};

class LogFile {
  public:
    // `folder` is native; `files` in all, the current one counted, taken to 1..LOG_FILES_MOST.
    LogFile(std::string folder, int32_t files);
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    // False when the line, which ends with a line end, did not reach the system as a whole.
    bool write(std::string_view line) noexcept;

  private:
    class Sink;

    bool open();

    std::string folder_;
    size_t older_files_;
    std::unique_ptr<Sink> sink_;
    std::chrono::steady_clock::time_point retry_at_;
};

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVUBASE_LOG_FILE_H
