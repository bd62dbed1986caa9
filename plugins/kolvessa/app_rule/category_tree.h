#ifndef KOLVESSA_APP_RULE_CATEGORY_TREE_H
#define KOLVESSA_APP_RULE_CATEGORY_TREE_H

// The categories of all libraries: below the root the tags, below each tag its library's top node,
// below that the nested categories. Nodes lie in one vector and name each other by number, so that
// no depth of nesting costs stack. Const operations may run on several threads at once.

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kolvessa {

class CategoryTree {
  public:
    using Node = uint32_t;
    static constexpr Node root = 0;

    // Adds an empty node under a name that its parent doesn't have yet; none when it has. Throws
    // when memory is out; the tree is then as before.
    std::optional<Node> insert(Node parent, std::string_view name);

    std::optional<Node> find(Node parent, std::string_view name) const noexcept;

    // Adds an appid to those that stand directly in a node.
    void add_appid(Node node, uint32_t appid) { nodes_[node].appids.push_back(appid); }

    // Appends the appids of a node and of all below it: depth first, a node ahead of its children,
    // children in ascending order of their names.
    void collect(Node node, std::vector<uint32_t>& out) const;

    // The names directly below a node, ascending.
    std::vector<std::string> names(Node node) const;

    void clear() noexcept;

  private:
    struct CategoryNode {
        std::map<std::string, Node, std::less<>> children;
        std::vector<uint32_t> appids;  // in file order
    };

    std::vector<CategoryNode> nodes_ = std::vector<CategoryNode>(1);
};

}  // namespace kolvessa

#endif  // KOLVESSA_APP_RULE_CATEGORY_TREE_H
