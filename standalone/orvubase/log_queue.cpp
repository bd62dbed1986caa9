#include "standalone/orvubase/log_queue.h"

#include <utility>

namespace orvu {

std::string_view LogBatch::operator[](size_t index) const {
    const size_t start = index == 0 ? 0 : ends_[index - 1];
    return std::string_view(text_).substr(start, ends_[index] - start);
}

bool LogBatch::add(std::string_view line) noexcept {
    const bool ended = line.ends_with('\n');
    const size_t end = text_.size() + line.size() + (ended ? 0 : 1);
    if (ends_.size() >= LOG_QUEUE_LINES || end > LOG_QUEUE_BYTES) {
        return false;
    }
    const size_t start = text_.size();
    try {
        text_.append(line);
        if (!ended) {
            text_.push_back('\n');
        }
        ends_.push_back(end);
        return true;
    } catch (...) {
        text_.resize(start);
        return false;
    }
}

void LogBatch::clear() {
    text_.clear();
    ends_.clear();
}

bool LogQueue::put(std::string_view line) noexcept {
    bool first = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        first = lines_.size() == 0;
        if (!lines_.add(line)) {
            return false;
        }
    }
    // While lines are waiting the writer is awake already.
    if (first) {
        filled_.notify_one();
    }
    return true;
}

void LogQueue::wait() {
    std::unique_lock<std::mutex> lock(mutex_);
    filled_.wait(lock, [this] { return lines_.size() != 0; });
}

void LogQueue::take(LogBatch& batch) {
    batch.clear();
    const std::lock_guard<std::mutex> lock(mutex_);
    std::swap(batch, lines_);
}

bool LogQueue::try_take(LogBatch& batch) {
    batch.clear();
    const std::unique_lock<std::mutex> lock(mutex_, std::try_to_lock);
    if (!lock.owns_lock()) {
        return false;
    }
    std::swap(batch, lines_);
    return true;
}

}  // namespace orvu
