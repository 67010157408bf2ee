/// @file
/// The children of a tree's nodes by name.
#pragma once

#include "tyr/adt/adttree.hpp"
#include "tyr/adt/hashindex.hpp"
#include "tyr/mek/node.hpp"

#include <cstddef>

namespace TyrMek {

/// Finds a child by its name among any number of children.
///
/// It is exact for a tree that only adds nodes, attaches their payloads at once and never replaces
/// them, since the name of a node does not change. It reads new nodes in each search, so a tree
/// that is never searched has no index.
class ChildIndex {
public:
    using Tree = TyrAdt::Tree<Node*>;

    /// The lowest id of a child of `parentId`, other than the first child, that has the name of
    /// `pattern` and for which `predicate(payload, pattern)` holds, or 0.
    /// @tparam Predicate `NodesWithSameName` or `VirtualNodesWithSameName`
    template <class Predicate>
    unsigned int Find(const Tree& tree, unsigned int parentId, const Node* pattern,
                      Predicate predicate) {
        ReadNewNodes(tree);
        return FindRead(parentId, pattern, predicate);
    }

private:
    using TreeNode = TyrAdt::TreeNode<Node*>;

    static std::size_t HashOf(unsigned int parentId, const Node& node);
    void ReadNewNodes(const Tree& tree);

    template <class Predicate>
    unsigned int FindRead(unsigned int parentId, const Node* pattern, Predicate predicate) const {
        unsigned int lowestId = 0;
        nodes_.Find(HashOf(parentId, *pattern), [&](const TreeNode* node) {
            const bool isLower = lowestId == 0 || node->id < lowestId;
            if (isLower && node->parentId == parentId && predicate(node->value, pattern)) {
                lowestId = node->id;
            }
            return false; // compare all
        });
        return lowestId;
    }

    /// No first children, and of children with equal name, type and version only the first.
    TyrAdt::HashIndex<const TreeNode*> nodes_;
    unsigned int nextId_ = 1; ///< of the first node that is not read yet
};

} // namespace TyrMek
