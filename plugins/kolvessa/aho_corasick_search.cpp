#include <algorithm>
#include <utility>

#include "plugins/kolvessa/aho_corasick.h"
#include "plugins/kolvessa/keyed_list.h"
#include "plugins/kolvessa/start_lists.h"

namespace kolvessa {

namespace {

// The live branches that stand on one node. Each is told by the node that it started at: the root,
// or the wildcard node that it was branched off at. Failure links do not lead a branch past its
// start; that is all the difference between branches on the same node, so that they walk as one
// until then.
//
// An absorbing group takes no failure link at all: it stands on a wildcard edge that it took as
// such or started at, or on the root.
struct Group {
    uint32_t node;
    bool absorbing;
    uint32_t starts;  // a list of StartLists

    explicit Group(const KeyedList::Item& item)
        : Group(item.key & ~kAbsorbing, (item.key & kAbsorbing) != 0, item.value) {}
    Group(uint32_t on, bool absorbs, uint32_t list) : node(on), absorbing(absorbs), starts(list) {}
    [[nodiscard]] uint32_t key() const { return node | (absorbing ? kAbsorbing : 0); }

  private:
    static constexpr uint32_t kAbsorbing = uint32_t{1} << 31;
};

// All live branches of one search, in three kinds.
//
// Many wait on a wildcard edge for the byte that leads on. They are parked: while none moves, a
// byte costs them one look a group, and they change nothing else. (No parked branch branches in
// turn, but one on W, below: the failure node of a wildcard node is a wildcard node or the root,
// and has a wildcard child in the latter case alone.)
//
// The branch that started at the root's wildcard child W, and waits there, is kept as a flag: once
// live it is live for good, since at each byte it branches off itself anew.
//
// All others are moving.
class Search {
  public:
    explicit Search(const Trie& trie) : trie_(trie), leading_(trie.leading_wildcard()) {}

    void run(std::string_view text);
    void append_to(std::vector<uint32_t>& results) const;

  private:
    // Takes one byte. False when no branch of the group is left, all having been stopped.
    bool advance(Group& group, uint8_t byte, uint32_t& branch);
    [[nodiscard]] bool at_end() const { return at_ == text_.size(); }
    void emit(uint32_t node);
    void add(KeyedList& list, const Group& group);
    void park(uint32_t node, uint32_t starts);
    bool park_if_started(Group& group, uint32_t node);
    void start_branch(uint32_t node);
    bool look_at_parked(uint8_t byte);
    void move_parked(uint8_t byte);
    void advance_leading(uint8_t byte);
    void run_one(Group group);
    void run_many();

    const Trie& trie_;
    const uint32_t leading_;
    std::string_view text_;
    size_t at_ = 0;
    bool leading_live_ = false;
    uint32_t last_record_ = 0;
    KeyedList records_;
    StartLists starts_;
    KeyedList lists_[4];
    KeyedList* moving_ = &lists_[0];
    KeyedList* next_moving_ = &lists_[1];
    KeyedList* parked_ = &lists_[2];
    KeyedList* next_parked_ = &lists_[3];
};

inline bool Search::advance(Group& group, uint8_t byte, uint32_t& branch) {
    uint32_t node = group.node;
    uint32_t next = trie_.child(node, byte);
    branch = 0;
    if (!group.absorbing) {
        while (next == 0 && node != 0 && (trie_.flags(node) & Trie::kWildChild) == 0) {
            node = trie_.fail(node);
            next = trie_.child(node, byte);
            if (next == 0 && (trie_.flags(node) & Trie::kOnWildcard) != 0) {
                if (park_if_started(group, node)) {
                    emit(node);
                }
                if (group.starts == StartLists::kEmpty) {
                    return false;
                }
            }
        }
    }
    const uint8_t flags = trie_.flags(node);
    if ((flags & Trie::kFailWild) != 0) {
        branch = trie_.wild_child(trie_.fail(node));
    }
    if (next == 0) {
        group.node = (flags & Trie::kWildChild) != 0 ? trie_.wild_child(node) : node;
        group.absorbing = true;
        emit(group.node);
        return true;
    }
    group.node = next;
    group.absorbing = false;
    emit(next);
    if ((trie_.flags(next) & Trie::kOnWildcard) != 0) {
        // A wildcard byte in the text was taken as a literal.
        park_if_started(group, next);
    }
    return group.starts != StartLists::kEmpty;
}

// A branch that comes back to its start waits there, however it came.
inline bool Search::park_if_started(Group& group, uint32_t node) {
    const bool started = starts_.remove(group.starts, node);
    if (started) {
        park(node, starts_.one(node));
    }
    return started;
}

inline void Search::park(uint32_t node, uint32_t starts) {
    if (node == leading_ && starts_.remove(starts, node)) {
        leading_live_ = true;
    }
    if (starts != StartLists::kEmpty) {
        add(*parked_, {node, true, starts});
    }
}

inline void Search::add(KeyedList& list, const Group& group) {
    const auto [item, fresh] = list.place(group.key(), group.starts);
    if (!fresh) {
        item->value = starts_.merge(item->value, group.starts);
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
        park(node, starts_.one(node));
    }
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
    while (record != 0 && records_.place(record, 0).second) {
        record = trie_.next_output(record);
    }
}

// True when a parked group moves. What those that stay have to give is taken here.
inline bool Search::look_at_parked(uint8_t byte) {
    bool any_moves = false;
    for (const KeyedList::Item& item : *parked_) {
        const uint32_t node = Group(item).node;
        if (trie_.child(node, byte) != 0) {
            any_moves = true;
        } else {
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
    for (const KeyedList::Item& item : *parked_) {
        const uint32_t next = trie_.child(Group(item).node, byte);
        if (next == 0) {
            next_parked_->place(item.key, item.value);
        } else {
            emit(next);
            add(*next_moving_, {next, false, item.value});
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
        add(*next_moving_, {next, false, starts_.one(leading_)});
    }
}

void Search::run(std::string_view text) {
    text_ = text;
    if (text.empty()) {
        emit(0);
        return;
    }
    run_one({0, true, starts_.one(0)});
    while (!at_end()) {
        run_many();
        if (moving_->size() == 1) {
            run_one(Group(*moving_->begin()));
        }
    }
}

// While one group is moving; it stays out of the lists, also when it comes to wait.
void Search::run_one(Group group) {
    while (!at_end()) {
        const auto byte = static_cast<uint8_t>(text_[at_++]);
        const bool leading_live = leading_live_;
        const bool leading_moves =
            leading_live && (trie_.behind_leading_wildcard(byte) != 0 || at_end() ||
                             (trie_.flags(leading_) & Trie::kOutput) != 0);
        const bool parked_move = parked_->size() != 0 && look_at_parked(byte);
        next_moving_->clear();
        if (parked_move) {
            move_parked(byte);
        }
        uint32_t branch = 0;
        const bool left = advance(group, byte, branch);
        if (branch != 0 && (branch != leading_ || !leading_live || at_end())) {
            start_branch(branch);
        }
        if (left && !leading_moves && !parked_move) {
            continue;
        }
        if (left) {
            add(*next_moving_, group);
        }
        if (leading_moves) {
            advance_leading(byte);
        }
        if (next_moving_->size() != 1) {
            std::swap(moving_, next_moving_);
            return;
        }
        group = Group(*next_moving_->begin());
    }
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
        for (const KeyedList::Item& item : *moving_) {
            Group group(item);
            uint32_t branch = 0;
            const bool left = advance(group, byte, branch);
            if (branch != 0) {
                start_branch(branch);
            }
            if (left && group.absorbing && (trie_.flags(group.node) & Trie::kOnWildcard) != 0) {
                park(group.node, group.starts);
            } else if (left) {
                add(*next_moving_, group);
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
    for (const KeyedList::Item& record : records_) {
        found += static_cast<size_t>(trie_.ids_end(record.key) - trie_.ids_begin(record.key));
    }
    const size_t held = results.size();
    results.resize(held + found);
    const auto from = results.begin() + static_cast<std::ptrdiff_t>(held);
    auto to = from;
    for (const KeyedList::Item& record : records_) {
        to = std::copy(trie_.ids_begin(record.key), trie_.ids_end(record.key), to);
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
