#ifndef TESTS_KOLVESSA_AHO_CORASICK_MODEL_H
#define TESTS_KOLVESSA_AHO_CORASICK_MODEL_H

// The matcher's algorithm word for word: a hash map and a counted failure reference in every node,
// merged outputs, a recursive search that branches. It is what the real matcher is compared with,
// in results and in speed. A search can take time exponential in the text, so it has a step budget.

#include <cstdint>
#include <deque>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kolvessa::testing {

class AhoCorasickModel {
  public:
    AhoCorasickModel() = default;
    AhoCorasickModel(const AhoCorasickModel&) = delete;
    AhoCorasickModel& operator=(const AhoCorasickModel&) = delete;
    ~AhoCorasickModel() { break_cycles(); }

    void add_pattern(std::string_view pattern, uint32_t id) {
        NodeRef current = root_;
        for (const char byte : compress_wildcards(pattern)) {
            NodeRef& child = current->children[byte];
            if (child == nullptr) {
                child = std::make_shared<Node>();
            }
            current = child;
        }
        current->output.push_back(id);
    }

    void build() {
        std::deque<NodeRef> queue;
        for (const auto& [byte, child] : root_->children) {
            child->fail = root_;
            queue.push_back(child);
        }
        while (!queue.empty()) {
            const NodeRef node = queue.front();
            queue.pop_front();
            for (const auto& [byte, child] : node->children) {
                queue.push_back(child);
                NodeRef f = node->fail;
                while (f != root_ && !has(f, byte) && !has(f, kWildcard)) {
                    f = f->fail;
                }
                if (has(f, byte)) {
                    f = f->children.at(byte);
                } else if (has(f, kWildcard)) {
                    f = f->children.at(kWildcard);
                }
                child->fail = f;
                child->output.insert(child->output.end(), f->output.begin(), f->output.end());
            }
        }
    }

    // False when the budget ran out; the results are then not to be used.
    bool search(std::string_view text, std::set<uint32_t>& results, uint64_t budget) const {
        return search_from(nullptr, text.substr(0, text.find('\0')), results, budget);
    }

  private:
    static constexpr char kWildcard = '*';

    struct ByteHash {
        size_t operator()(char byte) const {
            return (0xcbf29ce484222325 ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
        }
    };
    struct Node;
    using NodeRef = std::shared_ptr<Node>;
    struct Node {
        std::unordered_map<char, NodeRef, ByteHash> children{8};
        NodeRef fail;
        std::vector<uint32_t> output;
    };

    static std::string compress_wildcards(std::string_view pattern) {
        std::string compressed;
        for (size_t i = 0; i < pattern.size(); ++i) {
            if (i == 0 || pattern[i] != kWildcard || pattern[i - 1] != kWildcard) {
                compressed.push_back(pattern[i]);
            }
        }
        return compressed;
    }

    static bool has(const NodeRef& node, char byte) { return node->children.count(byte) != 0; }

    bool search_from(const NodeRef& given, std::string_view text, std::set<uint32_t>& results,
                     uint64_t& budget) const {
        const NodeRef start = given == nullptr ? root_ : given;
        bool in_wildcard = given != nullptr;
        NodeRef cur = start;
        if (text.empty()) {
            results.insert(cur->output.begin(), cur->output.end());
            return true;
        }
        for (size_t i = 0; i < text.size(); ++i) {
            const char c = text[i];
            if (cur != start) {
                while (cur != root_) {
                    if (has(cur, c) || has(cur, kWildcard) || in_wildcard) {
                        break;
                    }
                    cur = cur->fail;
                    if (cur == start) {
                        break;
                    }
                }
            }
            const NodeRef f = cur->fail;
            if (f != nullptr && has(f, kWildcard)) {
                const NodeRef branch = f->children.at(kWildcard);
                if (!search_from(branch, text.substr(i + 1), results, budget)) {
                    return false;
                }
            }
            if (const auto child = cur->children.find(c); child != cur->children.end()) {
                cur = NodeRef(child->second);
                in_wildcard = false;
            } else if (const auto wild = cur->children.find(kWildcard);
                       wild != cur->children.end()) {
                cur = NodeRef(wild->second);
                in_wildcard = true;
            }
            results.insert(cur->output.begin(), cur->output.end());
            if (budget-- == 0) {
                budget = 0;
                return false;
            }
        }
        return true;
    }

    // Child and failure references form cycles, which counted references alone never give back.
    void break_cycles() {
        std::vector<NodeRef> open{root_};
        while (!open.empty()) {
            const NodeRef node = std::move(open.back());
            open.pop_back();
            for (auto& [byte, child] : node->children) {
                open.push_back(std::move(child));
            }
            node->children.clear();
            node->fail.reset();
        }
    }

    NodeRef root_ = std::make_shared<Node>();
};

}  // namespace kolvessa::testing

#endif  // TESTS_KOLVESSA_AHO_CORASICK_MODEL_H
