// Names are unique below one parent, and appids come depth first, names ascending.

#include "plugins/kolvessa/app_rule/category_tree.h"

#include <gmock/gmock.h>

namespace kolvessa {
namespace {

using testing::ElementsAre;

TEST(CategoryTree, a_name_is_unique_below_one_parent_only) {
    CategoryTree tree;
    const auto a = tree.insert(CategoryTree::root, "a");
    ASSERT_TRUE(a);
    EXPECT_FALSE(tree.insert(CategoryTree::root, "a"));
    const auto below = tree.insert(*a, "a");
    ASSERT_TRUE(below);
    EXPECT_NE(*a, *below);
    EXPECT_EQ(tree.find(CategoryTree::root, "a"), a);
    EXPECT_EQ(tree.find(*a, "a"), below);
    EXPECT_FALSE(tree.find(*below, "a"));
    EXPECT_FALSE(tree.find(CategoryTree::root, "A"));
}

TEST(CategoryTree, appids_come_depth_first_a_node_ahead_of_its_children_names_ascending) {
    CategoryTree tree;
    const auto top = *tree.insert(CategoryTree::root, "t");
    const auto b = *tree.insert(top, "b");
    const auto a = *tree.insert(top, "a");
    const auto deep = *tree.insert(a, "z");
    tree.add_appid(b, 4);
    tree.add_appid(deep, 3);
    tree.add_appid(a, 2);
    tree.add_appid(top, 9);
    tree.add_appid(top, 1);
    std::vector<uint32_t> out{7};
    tree.collect(top, out);
    EXPECT_THAT(out, ElementsAre(7, 9, 1, 2, 3, 4));
    EXPECT_THAT(tree.names(top), ElementsAre("a", "b"));
}

TEST(CategoryTree, nesting_costs_no_stack) {
    CategoryTree tree;
    CategoryTree::Node node = CategoryTree::root;
    for (int i = 0; i < 300000; ++i) {
        node = *tree.insert(node, "n");
    }
    tree.add_appid(node, 5);
    std::vector<uint32_t> out;
    tree.collect(CategoryTree::root, out);
    EXPECT_THAT(out, ElementsAre(5));
    tree.clear();
    EXPECT_FALSE(tree.find(CategoryTree::root, "n"));
}

}  // namespace
}  // namespace kolvessa
