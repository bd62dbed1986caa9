// The only file that includes spdlog, which costs seconds to compile.

#include "standalone/orvubase/log_file.h"

#include <spdlog/details/log_msg.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <utility>

#include "standalone/orvubase/home.h"

namespace orvu {

namespace {

constexpr int32_t FOLDER_MODE = 0700;

spdlog::filename_t file_name(const std::string& folder) {
    std::filesystem::path path(std::u8string(folder.begin(), folder.end()));
    path /= LOG_FILE_NAME;
    return path.native();
}

// Without the C library's buffer each line is with the system, or known to be lost, when its write
// returns. The lines come in batches from a queue, so nobody waits for it.
spdlog::file_event_handlers unbuffered() {
    spdlog::file_event_handlers handlers;
    handlers.after_open = [](const spdlog::filename_t&, std::FILE* file) {
        (void)std::setvbuf(file, nullptr, _IONBF, 0);
    };
    return handlers;
}

}  // namespace

class LogFile::Sink {
  public:
    Sink(const std::string& folder, size_t older_files)
        : sink_(file_name(folder), LOG_FILE_BYTES, older_files, false, unbuffered()) {
        sink_.set_formatter(std::make_unique<spdlog::pattern_formatter>(
            "%v", spdlog::pattern_time_type::local, std::string()));
    }

    void write(std::string_view line) {
        sink_.log(spdlog::details::log_msg(spdlog::string_view_t(), spdlog::level::info,
                                           spdlog::string_view_t(line.data(), line.size())));
    }

  private:
    spdlog::sinks::rotating_file_sink_st sink_;
};

LogFile::LogFile(std::string folder, int32_t files)
    : folder_(std::move(folder)),
      older_files_(static_cast<size_t>(std::clamp(files, 1, LOG_FILES_MOST)) - 1) {}

LogFile::~LogFile() = default;

bool LogFile::open() {
    if (sink_) {
        return true;
    }
    if (std::chrono::steady_clock::now() < retry_at_) {
        return false;
    }
    retry_at_ = std::chrono::steady_clock::now() + LOG_RETRY_PAUSE;
    if (!make_folders(folder_, FOLDER_MODE)) {
        return false;
    }
    sink_ = std::make_unique<Sink>(folder_, older_files_);
    return true;
}

bool LogFile::write(std::string_view line) noexcept {
    try {
        if (!open()) {
            return false;
        }
        sink_->write(line);
        return true;
    } catch (...) {
        // After a failed rotation the sink has no file to write to, so it is not used again.
        sink_.reset();
        retry_at_ = std::chrono::steady_clock::now() + LOG_RETRY_PAUSE;
        return false;
    }
}

}  // namespace orvu
