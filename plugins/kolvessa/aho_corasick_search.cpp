#include <algorithm>
#include <cstring>

#include "plugins/kolvessa/aho_corasick.h"
#include "plugins/kolvessa/distinct_list.h"

namespace kolvessa {

namespace {

// One live branch. Failure links do not lead it past `start`, the wildcard node that it was
// branched off at, or the root. While it is absorbing it takes no failure link at all: it stands on
// a wildcard edge that it took as such, on its start node or on the root.
struct Walk {
    uint32_t start = 0;
    uint32_t node = 0;
    bool absorbing = true;

    [[nodiscard]] uint64_t packed() const {
        return (static_cast<uint64_t>(start) << 32) | (absorbing ? kAbsorbing : 0) | node;
    }
    static Walk unpacked(uint64_t value) {
        const auto low = static_cast<uint32_t>(value);
        return {static_cast<uint32_t>(value >> 32), low & ~kAbsorbing, (low & kAbsorbing) != 0};
    }

  private:
    static constexpr uint32_t kAbsorbing = uint32_t{1} << 31;
};

class Search {
  public:
    explicit Search(const Trie& trie) : trie_(trie) {}

    void run(std::string_view text);
    void append_to(std::vector<uint32_t>& results) const;

  private:
    // Takes one byte. Returns the wildcard node at which a branch starts behind it, or 0.
    uint32_t advance(Walk& walk, uint8_t byte) const;
    [[nodiscard]] Walk branch_at(uint32_t node) const;
    void emit(uint32_t node);
    void run_one(Walk walk);
    void run_many();

    const Trie& trie_;
    std::string_view text_;
    size_t at_ = 0;
    bool text_has_wildcard_ = false;
    uint32_t last_record_ = 0;
    DistinctList records_;
    DistinctList lists_[2];
    DistinctList* live_ = &lists_[0];
    DistinctList* next_ = &lists_[1];
};

inline uint32_t Search::advance(Walk& walk, uint8_t byte) const {
    uint32_t node = walk.node;
    uint32_t next = trie_.child(node, byte);
    if (!walk.absorbing) {
        while (next == 0 && node != 0 && (trie_.flags(node) & Trie::kWildChild) == 0) {
            node = trie_.fail(node);
            next = trie_.child(node, byte);
            if (node == walk.start) {
                break;
            }
        }
    }
    const uint8_t flags = trie_.flags(node);
    const uint32_t branch = (flags & Trie::kFailWild) != 0 ? trie_.wild_child(trie_.fail(node)) : 0;
    if (next != 0) {
        walk.node = next;
        walk.absorbing = next == walk.start;
    } else {
        walk.node = (flags & Trie::kWildChild) != 0 ? trie_.wild_child(node) : node;
        walk.absorbing = true;
    }
    return branch;
}

// A start node to which nothing fails cannot stop a failure walk, so that the branch goes on like
// one without it and may be found equal to it. A wildcard byte in the text leads onto a wildcard
// edge without absorbing, where the two would differ.
inline Walk Search::branch_at(uint32_t node) const {
    const bool stops = text_has_wildcard_ || (trie_.flags(node) & Trie::kFailTarget) != 0;
    return {stops ? node : 0, node, true};
}

inline void Search::emit(uint32_t node) {
    if ((trie_.flags(node) & Trie::kOutput) == 0) {
        return;
    }
    uint32_t record = trie_.output(node);
    if (record == last_record_) {
        return;
    }
    last_record_ = record;
    while (record != 0 && records_.insert(record)) {
        record = trie_.next_output(record);
    }
}

void Search::run(std::string_view text) {
    text_ = text;
    text_has_wildcard_ = text.find(CAhoCorasick::wildcard) != std::string_view::npos;
    if (text.empty()) {
        emit(0);
        return;
    }
    run_one(Walk{});
    while (at_ < text_.size()) {
        run_many();
        if (live_->size() == 1) {
            run_one(Walk::unpacked(*live_->begin()));
        }
    }
}

// Until the walk branches or the text ends.
void Search::run_one(Walk walk) {
    live_->clear();
    while (at_ < text_.size()) {
        const uint32_t branch = advance(walk, static_cast<uint8_t>(text_[at_++]));
        emit(walk.node);
        if (branch != 0) {
            live_->insert(walk.packed());
            live_->insert(branch_at(branch).packed());
            if (at_ == text_.size()) {
                emit(branch);
            }
            return;
        }
    }
}

// Until one walk is left or the text ends. A branch that starts behind the last byte meets the
// empty text and adds its start node's output; earlier ones add nothing by starting.
void Search::run_many() {
    while (at_ < text_.size() && live_->size() > 1) {
        const auto byte = static_cast<uint8_t>(text_[at_++]);
        next_->clear();
        for (const uint64_t packed : *live_) {
            Walk walk = Walk::unpacked(packed);
            const uint32_t branch = advance(walk, byte);
            emit(walk.node);
            next_->insert(walk.packed());
            if (branch != 0) {
                next_->insert(branch_at(branch).packed());
                if (at_ == text_.size()) {
                    emit(branch);
                }
            }
        }
        std::swap(live_, next_);
    }
}

void Search::append_to(std::vector<uint32_t>& results) const {
    size_t found = 0;
    for (const uint64_t record : records_) {
        const auto number = static_cast<uint32_t>(record);
        found += static_cast<size_t>(trie_.ids_end(number) - trie_.ids_begin(number));
    }
    const size_t held = results.size();
    results.resize(held + found);
    const auto from = results.begin() + static_cast<std::ptrdiff_t>(held);
    auto to = from;
    for (const uint64_t record : records_) {
        const auto number = static_cast<uint32_t>(record);
        to = std::copy(trie_.ids_begin(number), trie_.ids_end(number), to);
    }
    std::sort(from, results.end());
    results.erase(std::unique(from, results.end()), results.end());
}

}  // namespace

void CAhoCorasick::search(std::string_view text, std::vector<uint32_t>& results) const {
    if (!trie_.built()) {
        return;
    }
    Search search(trie_);
    search.run(text.substr(0, text.find('\0')));
    search.append_to(results);
}

void CAhoCorasick::search(const char* text, std::vector<uint32_t>& results) const {
    search(text != nullptr ? std::string_view(text) : std::string_view(), results);
}

}  // namespace kolvessa
