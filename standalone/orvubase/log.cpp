// The log: callers format into their own stack and put the line into the queue, one thread takes it
// to the file. The log is never destroyed, because threads of a plug-in log until the process is
// gone; what is queued at its end is written by the thread that ends it.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdarg>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "orvubase.h"
#include "standalone/orvubase/core/format.h"
#include "standalone/orvubase/core/path_map.h"
#include "standalone/orvubase/home.h"
#include "standalone/orvubase/log_file.h"
#include "standalone/orvubase/log_queue.h"
#include "standalone/orvubase/orvubase_host.h"
#include "standalone/orvubase/result.h"
#include "standalone/orvubase/system.h"

namespace orvu {

namespace {

constexpr size_t LINE_LIMIT = 65535;
constexpr size_t SHORT_LINE = 2048;
constexpr int32_t LEVEL_MOST = 3;
constexpr int32_t LEVEL_AT_START = 2;

class Log {
  public:
    int32_t init(const char* directory, int32_t count) {
        const std::optional<std::string> folder = path_resolve(expand_path(directory));
        if (!folder) {
            return RESULT_ABSENT;
        }
        const std::lock_guard<std::mutex> lock(file_mutex_);
        if (ready_.load()) {
            return RESULT_OK;
        }
        file_.emplace(*folder, count);
        system::stay_loaded();
        std::thread([this] { run(); }).detach();
        ready_.store(true);
        return RESULT_OK;
    }

    bool ready() const { return ready_.load(std::memory_order_acquire); }

    void put(std::string_view line) noexcept {
        if (!queue_.put(line)) {
            dropped_.fetch_add(1, std::memory_order_relaxed);
        }
    }

    void count_dropped() noexcept { dropped_.fetch_add(1, std::memory_order_relaxed); }

    uint64_t dropped() const { return dropped_.load(std::memory_order_relaxed); }

    void echo(bool on) { echo_.store(on, std::memory_order_relaxed); }

    // Lines keep their order, because taking and writing are one step under the file's mutex.
    void flush() {
        const std::lock_guard<std::mutex> lock(file_mutex_);
        flush_locked();
    }

    // Lets go of the file for good; the log stays ready, and what comes later counts as dropped.
    void close() {
        const std::lock_guard<std::mutex> lock(file_mutex_);
        flush_locked();
        closed_ = closed_ || file_.has_value();
        file_.reset();
    }

    // The end of the process: on Windows the other threads are gone by now, perhaps with a mutex in
    // their hands, so none is waited for without an end.
    void last_flush() {
        constexpr int ATTEMPTS = 100;
        for (int i = 0; i < ATTEMPTS; ++i) {
            const std::unique_lock<std::mutex> lock(file_mutex_, std::try_to_lock);
            if (lock.owns_lock()) {
                if (!file_) {
                    return;
                }
                if (queue_.try_take(batch_)) {
                    write_batch(*file_);
                    return;
                }
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    }

  private:
    [[noreturn]] void run() {
        for (;;) {
            queue_.wait();
            flush();
        }
    }

    // The file's mutex is held here and below.
    void flush_locked() {
        if (file_) {
            queue_.take(batch_);
            write_batch(*file_);
        } else if (closed_) {
            queue_.take(batch_);
            dropped_.fetch_add(batch_.size(), std::memory_order_relaxed);
            batch_.clear();
        }
    }

    void write_batch(LogFile& file) {
        const bool echo = echo_.load(std::memory_order_relaxed);
        for (size_t i = 0; i < batch_.size(); ++i) {
            const std::string_view line = batch_[i];
            if (!file.write(line)) {
                count_dropped();
            }
            if (echo) {
                system::write_error(line);
            }
        }
        batch_.clear();
    }

    LogQueue queue_;
    std::mutex file_mutex_;
    std::optional<LogFile> file_;
    bool closed_ = false;
    LogBatch batch_;
    std::atomic<bool> ready_{false};
    std::atomic<bool> echo_{false};
    std::atomic<uint64_t> dropped_{0};
};

std::atomic<int32_t> current_level{LEVEL_AT_START};

Log& log_of_process() {
    static Log& instance = *new Log;
    return instance;
}

struct LastFlush {
    ~LastFlush() {
        if (log_of_process().ready()) {
            log_of_process().last_flush();
        }
    }
};

const LastFlush last_flush_at_exit;

void output(const char* format, std::va_list arguments) {
    char line[SHORT_LINE];
    const size_t length = format_bounded(line, sizeof line, format, arguments);
    if (length < sizeof line) {
        log_of_process().put(std::string_view(line, length));
        return;
    }
    std::string longer(std::min(length, LINE_LIMIT), '\0');
    // The text's own NUL takes the place behind the last character.
    format_bounded(longer.data(), longer.size() + 1, format, arguments);
    longer.resize(std::char_traits<char>::length(longer.c_str()));
    log_of_process().put(longer);
}

}  // namespace

}  // namespace orvu

int32_t orvu_log_is_regestered(void) {
    return orvu::log_of_process().ready() ? 1 : 0;
}

int32_t orvu_autolog_init(const char* directory, int32_t count) {
    return orvu::guarded<int32_t>(orvu::RESULT_MEMORY, [&]() -> int32_t {
        return directory == nullptr ? orvu::RESULT_ARGUMENT
                                    : orvu::log_of_process().init(directory, count);
    });
}

int32_t orvu_log_level_get(void) {
    return orvu::current_level.load(std::memory_order_relaxed);
}

int32_t orvu_log_output(int32_t, const char* format, ...) {
    if (format == nullptr) {
        return orvu::RESULT_ARGUMENT;
    }
    std::va_list arguments;
    va_start(arguments, format);
    try {
        orvu::output(format, arguments);
    } catch (...) {
        orvu::log_of_process().count_dropped();
    }
    va_end(arguments);
    return orvu::RESULT_OK;
}

int32_t orvu_host_log_level_get(void) {
    return orvu_log_level_get();
}

void orvu_host_log_level_set(int32_t level) {
    orvu::current_level.store(std::clamp(level, 0, orvu::LEVEL_MOST), std::memory_order_relaxed);
}

void orvu_host_log_echo(int32_t on) {
    orvu::log_of_process().echo(on != 0);
}

uint64_t orvu_host_log_dropped(void) {
    return orvu::log_of_process().dropped();
}

void orvu_host_log_flush(void) {
    (void)orvu::guarded<int32_t>(0, [] {
        orvu::log_of_process().flush();
        return 0;
    });
}

void orvu_host_log_close(void) {
    (void)orvu::guarded<int32_t>(0, [] {
        orvu::log_of_process().close();
        return 0;
    });
}
