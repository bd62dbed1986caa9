#include "plugins/kolvessa/app_rule/category_tree.h"

#include <stdexcept>

namespace kolvessa {

std::optional<CategoryTree::Node> CategoryTree::insert(Node parent, std::string_view name) {
    if (find(parent, name)) {
        return std::nullopt;
    }
    if (nodes_.size() > UINT32_MAX) {
        throw std::length_error("too many categories");
    }
    const auto node = static_cast<Node>(nodes_.size());
    nodes_.emplace_back();
    try {
        nodes_[parent].children.emplace(name, node);
    } catch (...) {
        nodes_.pop_back();
        throw;
    }
    return node;
}

std::optional<CategoryTree::Node> CategoryTree::find(Node parent,
                                                     std::string_view name) const noexcept {
    const auto& children = nodes_[parent].children;
    const auto found = children.find(name);
    return found == children.end() ? std::nullopt : std::optional<Node>(found->second);
}

void CategoryTree::collect(Node node, std::vector<uint32_t>& out) const {
    std::vector<Node> pending{node};
    while (!pending.empty()) {
        const CategoryNode& current = nodes_[pending.back()];
        pending.pop_back();
        out.insert(out.end(), current.appids.begin(), current.appids.end());
        // The last one pushed is visited first.
        for (auto child = current.children.rbegin(); child != current.children.rend(); ++child) {
            pending.push_back(child->second);
        }
    }
}

std::vector<std::string> CategoryTree::names(Node node) const {
    std::vector<std::string> result;
    for (const auto& [name, child] : nodes_[node].children) {
        result.push_back(name);
    }
    return result;
}

void CategoryTree::clear() noexcept {
    nodes_.resize(1);
    nodes_.shrink_to_fit();
    nodes_[root].children.clear();
    nodes_[root].appids.clear();
}

}  // namespace kolvessa
