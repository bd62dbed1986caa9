#include "plugins/kolvessa/aho_corasick_trie.h"

#include <algorithm>
#include <string_view>

namespace kolvessa {

// The steps of making a Trie, in order; what only they need goes with the builder.
struct Trie::Builder {
    Trie& trie;
    std::vector<Sibling> siblings;
    std::vector<uint32_t> ends;  // ends[r] is the node of output record r

    void insert(const std::string& bytes, const std::vector<StoredPattern>& patterns);
    void make_forks();
    void set_own_outputs();
    void link_failures();

  private:
    [[nodiscard]] std::vector<uint32_t> full_table(uint32_t node) const;
    void link(uint32_t node, uint32_t child);
};

Trie::Trie(const std::string& bytes, std::vector<StoredPattern>& patterns) {
    const std::string_view all(bytes);
    std::sort(
        patterns.begin(), patterns.end(), [all](const StoredPattern& a, const StoredPattern& b) {
            const int order = all.substr(a.begin, a.length).compare(all.substr(b.begin, b.length));
            return order != 0 ? order < 0 : a.id < b.id;
        });
    Builder builder{*this, {}, {}};
    builder.insert(bytes, patterns);
    builder.make_forks();
    builder.set_own_outputs();
    builder.link_failures();
}

// Sorted patterns come in depth-first order: each one leaves its predecessor's path at their common
// prefix, and what is left of it becomes new nodes in a row.
void Trie::Builder::insert(const std::string& bytes, const std::vector<StoredPattern>& patterns) {
    const std::string_view all(bytes);
    std::string_view last;
    size_t count = 1;
    for (const StoredPattern& pattern : patterns) {
        const std::string_view text = all.substr(pattern.begin, pattern.length);
        const auto parting =
            std::mismatch(text.begin(), text.end(), last.begin(), last.end()).first;
        count += static_cast<size_t>(text.end() - parting);
        last = text;
    }
    trie.cells_.reserve(count);
    trie.ids_.reserve(patterns.size());
    trie.cells_.emplace_back();
    trie.outputs_.emplace_back();
    ends.push_back(0);

    last = {};
    std::vector<uint32_t> path{0};  // path[d] is the node at depth d of the last pattern
    bool first = true;
    for (const StoredPattern& pattern : patterns) {
        const std::string_view text = all.substr(pattern.begin, pattern.length);
        const auto parting =
            std::mismatch(text.begin(), text.end(), last.begin(), last.end()).first;
        const auto shared = static_cast<size_t>(parting - text.begin());
        if (first || shared < text.size()) {
            path.resize(shared + 1);
            for (size_t at = shared; at < text.size(); ++at) {
                const uint32_t parent = path.back();
                const auto node = static_cast<uint32_t>(trie.cells_.size());
                const auto label = static_cast<uint8_t>(text[at]);
                if (node == parent + 1) {
                    trie.cells_[parent].flags |= kOnlyChild;
                } else {
                    siblings.push_back({parent, node});
                }
                const bool wild = label == kWildcardByte;
                trie.cells_[parent].flags |= wild ? kWildChild : 0;
                trie.cells_.push_back({static_cast<uint8_t>(wild ? kOnWildcard : 0), label});
                path.push_back(node);
            }
            trie.outputs_.push_back({static_cast<uint32_t>(trie.ids_.size()), 0});
            ends.push_back(path.back());
        }
        if (trie.ids_.size() == trie.outputs_.back().ids || trie.ids_.back() != pattern.id) {
            trie.ids_.push_back(pattern.id);
        }
        last = text;
        first = false;
    }
    trie.outputs_.push_back({static_cast<uint32_t>(trie.ids_.size()), 0});
}

void Trie::Builder::make_forks() {
    trie.nodes_.resize(trie.cells_.size());
    std::sort(siblings.begin(), siblings.end(), [](const Sibling& a, const Sibling& b) {
        return a.parent != b.parent ? a.parent < b.parent : a.child < b.child;
    });
    size_t parents = 0;
    for (size_t at = 0; at < siblings.size(); ++at) {
        parents += at == 0 || siblings[at].parent != siblings[at - 1].parent ? 1 : 0;
    }
    trie.forks_.reserve(parents);
    trie.targets_.reserve(siblings.size() + parents);
    trie.labels_.reserve(siblings.size() + parents + 8);
    for (size_t at = 0; at < siblings.size();) {
        const uint32_t parent = siblings[at].parent;
        Fork fork;
        fork.edges = static_cast<uint32_t>(trie.targets_.size());
        trie.targets_.push_back(parent + 1);
        for (; at < siblings.size() && siblings[at].parent == parent; ++at) {
            trie.targets_.push_back(siblings[at].child);
        }
        fork.count = static_cast<uint32_t>(trie.targets_.size()) - fork.edges;
        for (uint32_t edge = fork.edges; edge < trie.targets_.size(); ++edge) {
            const uint32_t child = trie.targets_[edge];
            const uint8_t label = trie.cells_[child].label;
            trie.labels_.push_back(label);
            fork.wild = label == kWildcardByte ? child : fork.wild;
        }
        uint8_t& flags = trie.cells_[parent].flags;
        flags = static_cast<uint8_t>((flags & ~kOnlyChild) | kFork);
        trie.nodes_[parent].extra = static_cast<uint32_t>(trie.forks_.size());
        trie.forks_.push_back(fork);
    }
    trie.labels_.resize(trie.labels_.size() + 8);

    trie.root_ = full_table(0);
    if ((trie.cells_[0].flags & kWildChild) != 0) {
        trie.leading_ = trie.wild_child(0);
        trie.behind_leading_ = full_table(trie.leading_);
    }
}

std::vector<uint32_t> Trie::Builder::full_table(uint32_t node) const {
    std::vector<uint32_t> table(256);
    if ((trie.cells_[node].flags & kOnlyChild) != 0) {
        table[trie.cells_[node + 1].label] = node + 1;
    } else if ((trie.cells_[node].flags & kFork) != 0) {
        const Fork& fork = trie.forks_[trie.nodes_[node].extra];
        for (uint32_t edge = fork.edges; edge < fork.edges + fork.count; ++edge) {
            table[trie.labels_[edge]] = trie.targets_[edge];
        }
    }
    return table;
}

void Trie::Builder::set_own_outputs() {
    for (uint32_t record = 1; record < ends.size(); ++record) {
        trie.set_output(ends[record], record);
    }
}

void Trie::set_output(uint32_t node, uint32_t record) {
    uint32_t& extra = nodes_[node].extra;
    ((cells_[node].flags & kFork) != 0 ? forks_[extra].output : extra) = record;
    cells_[node].flags |= kOutput;
}

// Breadth first, so that a failure node, being nearer the root, is complete before it is used.
void Trie::Builder::link_failures() {
    std::vector<uint32_t> queue;
    queue.reserve(trie.cells_.size());
    queue.push_back(0);
    for (size_t at = 0; at < queue.size(); ++at) {
        const uint32_t node = queue[at];
        const uint8_t flags = trie.cells_[node].flags;
        const size_t known = queue.size();
        if ((flags & kOnlyChild) != 0) {
            queue.push_back(node + 1);
        } else if ((flags & kFork) != 0) {
            const Fork& fork = trie.forks_[trie.nodes_[node].extra];
            const auto edges = trie.targets_.begin() + fork.edges;
            queue.insert(queue.end(), edges, edges + fork.count);
        }
        for (size_t child = known; child < queue.size(); ++child) {
            link(node, queue[child]);
        }
    }
}

void Trie::Builder::link(uint32_t node, uint32_t child) {
    uint8_t& flags = trie.cells_[child].flags;
    if (node == 0) {
        // Children of the root fail to it and take nothing from its output.
        flags |= (trie.cells_[0].flags & kWildChild) != 0 ? kFailWild : 0;
        return;
    }
    const uint8_t label = trie.cells_[child].label;
    uint32_t fail = trie.fail(node);
    uint32_t next = trie.child(fail, label);
    while (fail != 0 && next == 0 && (trie.flags(fail) & kWildChild) == 0) {
        fail = trie.fail(fail);
        next = trie.child(fail, label);
    }
    if (next != 0) {
        fail = next;
    } else if ((trie.flags(fail) & kWildChild) != 0) {
        fail = trie.wild_child(fail);
    }
    trie.nodes_[child].fail = fail;
    const uint8_t fail_flags = trie.cells_[fail].flags;
    flags |= (fail_flags & kWildChild) != 0 ? kFailWild : 0;
    if ((fail_flags & kOutput) != 0) {
        const uint32_t inherited = trie.output(fail);
        if ((flags & kOutput) != 0) {
            trie.outputs_[trie.output(child)].next = inherited;
        } else {
            trie.set_output(child, inherited);
        }
    }
}

size_t Trie::memory_bytes() const {
    const auto held = [](const auto& list) {
        return list.capacity() * sizeof(list[0]);
    };
    return held(cells_) + held(nodes_) + held(forks_) + held(labels_) + held(targets_) +
           held(outputs_) + held(ids_) + held(root_) + held(behind_leading_);
}

}  // namespace kolvessa
