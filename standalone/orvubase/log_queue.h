#ifndef ORVU_STANDALONE_ORVUBASE_LOG_QUEUE_H
#define ORVU_STANDALONE_ORVUBASE_LOG_QUEUE_H

// The bounded queue between the threads that log and the one that writes. Putting a line in takes a
// mutex that is never held across a system call other than a wake-up, and never waits for room: a
// line that does not fit is refused. The lines lie end to end in one block that is used over and
// over, so a busy queue allocates nothing. Any thread may call any operation.

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace orvu {

constexpr size_t LOG_QUEUE_LINES = 8192;
constexpr size_t LOG_QUEUE_BYTES = 4U << 20U;

// Lines in the order in which they were put in, each with its line end.
class LogBatch {
  public:
    size_t size() const { return ends_.size(); }
    std::string_view operator[](size_t index) const;

    // False, with nothing changed, when the line does not fit or memory is short.
    bool add(std::string_view line) noexcept;
    void clear();

  private:
    std::string text_;
    std::vector<size_t> ends_;
};

class LogQueue {
  public:
    // False when the line was refused. A line end is added where there is none.
    bool put(std::string_view line) noexcept;

    // Waits until there is a line.
    void wait();

    // Replaces `batch` by what is queued, which may be nothing.
    void take(LogBatch& batch);

    // The same for the end of the process, when the owner of the mutex may be gone: false, with
    // nothing taken, if the mutex is not free.
    bool try_take(LogBatch& batch);

  private:
    std::mutex mutex_;
    std::condition_variable filled_;
    LogBatch lines_;
};

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVUBASE_LOG_QUEUE_H
