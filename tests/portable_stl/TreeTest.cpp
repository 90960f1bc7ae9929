#include "portable_stl/tree.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <utility>

#include "portable_stl/vector.h"
#include "tests/support/SmallStack.h"

namespace {

std::string ended;  // the names of the nodes in the order of their ends

struct Node {
    explicit Node(char text) : name(text) {}
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;
    Node(Node&& other) noexcept
        : name(std::exchange(other.name, '\0')), children(std::move(other.children)), parent(other.parent) {}
    Node& operator=(Node&&) = delete;
    ~Node() {
        portable_stl::destroy_children(*this);
        if (name != '\0')
            ended += name;
    }

    char name;
    portable_stl::vector<Node> children;
    Node* parent = nullptr;
};

Node& Add(Node& parent, char name) {
    parent.children.push_back(Node(name)).value();
    return parent.children.back();
}

TEST(Tree, ANodeWithoutChildrenStays) {
    Node root('r');
    portable_stl::destroy_children(root);
    EXPECT_TRUE(root.children.empty());
    EXPECT_EQ(root.name, 'r');
}

TEST(Tree, ChildrenEndAheadOfTheirParentsAndTheRootStays) {
    Node root('r');
    root.children.reserve(2).value();
    Node& first = Add(root, 'a');
    Add(Add(first, 'b'), 'c');
    Add(root, 'd');
    ended.clear();
    portable_stl::destroy_children(root);
    EXPECT_EQ(ended, "dcba");
    EXPECT_TRUE(root.children.empty());
}

TEST(Tree, StaleLinksDoNoHarm) {
    Node root('r');
    for (char name = 'a'; name < 'k'; ++name) {
        Node& child = Add(root, name);  // the former ones move
        Add(child, '1').parent = &child;
        Add(child, '2').parent = &child;
        child.parent = reinterpret_cast<Node*>(0x5a);  // never followed
    }
    ended.clear();
    portable_stl::destroy_children(root);
    EXPECT_EQ(ended, "21j21i21h21g21f21e21d21c21b21a");
}

TEST(Tree, DepthNeedsNoStack) {
    test::RunOnSmallStack([] {
        constexpr std::size_t depth = 1'000'000;
        Node root('r');
        Node* node = &root;
        for (std::size_t i = 0; i < depth; ++i)
            node = &Add(*node, 'x');
        ended.clear();
        portable_stl::destroy_children(root);
        EXPECT_EQ(ended.size(), depth);
    });
}

}  // namespace
