// What trees of nodes that own their children in a vector have in common.
#pragma once

namespace portable_stl {

// Ends everything below `root` with a loop, however deep it is. A node has a vector of nodes `children` and a
// pointer `parent`, which is set on the way down: links that the growth of a vector has left stale do no
// harm.
//
// For the destructor of the node, so that it finds no children left.
template <class Node>
void destroy_children(Node& root) noexcept {
    Node* node = &root;
    while (true) {
        if (node->children.empty()) {
            if (node == &root)
                return;
            node = node->parent;
            node->children.pop_back();
            continue;
        }
        Node& last = node->children.back();
        if (last.children.empty()) {
            node->children.pop_back();
        } else {
            last.parent = node;
            node = &last;
        }
    }
}

}  // namespace portable_stl
