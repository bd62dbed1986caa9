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

// All live branches of one search, in three groups.
//
// Most wait on a wildcard edge for the byte that leads on. They are parked: while none moves, a
// byte costs them one look each, and they change nothing else. (No parked walk branches, but one on
// W: the failure node of a wildcard node is a wildcard node or the root, and has a wildcard child
// in the latter case alone.)
//
// The branch that waits on the root's wildcard child W, having started there, is kept as a flag:
// once live it is live for good, since at each byte it branches off itself anew (W fails to the
// root, which has W as wildcard child). A walk that started at W, and stands where one without a
// start node stands, adds nothing: the two go together until the former stops at W, where that
// lasting branch is already.
//
// All others are moving.
class Search {
  public:
    explicit Search(const Trie& trie) : trie_(trie), leading_(trie.leading_wildcard()) {}

    void run(std::string_view text);
    void append_to(std::vector<uint32_t>& results) const;

  private:
    // Takes one byte. Returns the wildcard node at which a branch starts behind it, or 0.
    uint32_t advance(Walk& walk, uint8_t byte) const;
    [[nodiscard]] Walk branch_at(uint32_t node) const;
    [[nodiscard]] bool at_end() const { return at_ == text_.size(); }
    [[nodiscard]] bool is_redundant(const Walk& walk);
    void emit(uint32_t node);
    void add(const Walk& walk);
    void start_branch(uint32_t node);
    bool look_at_parked(uint8_t byte);
    void move_parked(uint8_t byte);
    void advance_leading(uint8_t byte);
    void run_one(Walk walk);
    void run_many();

    const Trie& trie_;
    const uint32_t leading_;
    std::string_view text_;
    size_t at_ = 0;
    bool text_has_wildcard_ = false;
    bool leading_live_ = false;
    uint32_t last_record_ = 0;
    DistinctList records_;
    DistinctList lists_[4];
    DistinctList* moving_ = &lists_[0];
    DistinctList* next_moving_ = &lists_[1];
    DistinctList* parked_ = &lists_[2];
    DistinctList* next_parked_ = &lists_[3];
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
    while (!at_end()) {
        run_many();
        if (moving_->size() == 1) {
            run_one(Walk::unpacked(*moving_->begin()));
        }
    }
}

inline void Search::add(const Walk& walk) {
    if (!walk.absorbing || (trie_.flags(walk.node) & Trie::kOnWildcard) == 0) {
        next_moving_->insert(walk.packed());
    } else if (walk.start == leading_ && walk.node == leading_) {
        leading_live_ = true;
    } else {
        parked_->insert(walk.packed());
    }
}

// A branch that starts behind the last byte meets the empty text and adds its start node's output;
// earlier ones add nothing by starting.
inline void Search::start_branch(uint32_t node) {
    if (at_end()) {
        emit(node);
    }
    if (node == leading_) {
        leading_live_ = true;
    } else {
        add(branch_at(node));
    }
}

inline bool Search::is_redundant(const Walk& walk) {
    return walk.start != 0 && walk.start == leading_ &&
           moving_->contains(Walk{0, walk.node, walk.absorbing}.packed());
}

// True when a parked walk moves. What those that stay have to give is taken here.
inline bool Search::look_at_parked(uint8_t byte) {
    bool any_moves = false;
    for (const uint64_t packed : *parked_) {
        const uint32_t node = Walk::unpacked(packed).node;
        const bool moves = trie_.child(node, byte) != 0;
        any_moves = any_moves || moves;
        if (!moves) {
            emit(node);
        }
        if (node == leading_) {
            start_branch(leading_);
        }
    }
    return any_moves;
}

void Search::move_parked(uint8_t byte) {
    next_parked_->clear();
    for (const uint64_t packed : *parked_) {
        Walk walk = Walk::unpacked(packed);
        const uint32_t next = trie_.child(walk.node, byte);
        if (next == 0) {
            next_parked_->insert(packed);
        } else {
            emit(next);
            next_moving_->insert(Walk{walk.start, next, false}.packed());
        }
    }
    std::swap(parked_, next_parked_);
}

// Stays live, whether it moves or not, so that there is only the move to add.
inline void Search::advance_leading(uint8_t byte) {
    const uint32_t next = trie_.behind_leading_wildcard(byte);
    if (next == 0 || at_end()) {
        emit(leading_);
    }
    if (next != 0) {
        emit(next);
        next_moving_->insert(Walk{leading_, next, false}.packed());
    }
}

// While one walk is moving; it stays out of the lists, also when it comes to wait.
void Search::run_one(Walk walk) {
    while (!at_end()) {
        const auto byte = static_cast<uint8_t>(text_[at_++]);
        const bool leading_moves =
            leading_live_ && (trie_.behind_leading_wildcard(byte) != 0 || at_end() ||
                              (trie_.flags(leading_) & Trie::kOutput) != 0);
        const bool parked_move = parked_->size() != 0 && look_at_parked(byte);
        const uint32_t branch = advance(walk, byte);
        emit(walk.node);
        const bool branches = branch != 0 && (branch != leading_ || !leading_live_ || at_end());
        if (!leading_moves && !parked_move && !branches) {
            continue;
        }
        next_moving_->clear();
        next_moving_->insert(walk.packed());
        if (parked_move) {
            move_parked(byte);
        }
        if (leading_moves) {
            advance_leading(byte);
        }
        if (branch != 0) {
            start_branch(branch);
        }
        if (next_moving_->size() != 1) {
            std::swap(moving_, next_moving_);
            return;
        }
    }
    moving_->clear();
}

// While several are moving, or none. The parked ones come first, since those that the moving ones
// add to them have taken this byte already.
void Search::run_many() {
    while (!at_end() && moving_->size() != 1) {
        const auto byte = static_cast<uint8_t>(text_[at_++]);
        const bool leading_live = leading_live_;
        next_moving_->clear();
        if (parked_->size() != 0 && look_at_parked(byte)) {
            move_parked(byte);
        }
        for (const uint64_t packed : *moving_) {
            Walk walk = Walk::unpacked(packed);
            if (is_redundant(walk)) {
                continue;
            }
            const uint32_t branch = advance(walk, byte);
            emit(walk.node);
            add(walk);
            if (branch != 0) {
                start_branch(branch);
            }
        }
        if (leading_live) {
            advance_leading(byte);
        }
        std::swap(moving_, next_moving_);
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
