/// @file
/// The children of a tree's nodes by name.
#pragma once

#include "tyr/adt/adttree.hpp"
#include "tyr/adt/hashindex.hpp"
#include "tyr/mek/node.hpp"

#include <array>
#include <cstddef>
#include <string>
#include <type_traits>

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
        return FindRead(tree, parentId, pattern, predicate);
    }

private:
    /// A child, and its name if that is short, else where it is.
    ///
    /// With its hash, a child has 32 bytes. So in an index of 10^6 short names a look-up by
    /// `VirtualNodesWithSameName` reads one cache line, in any order of look-ups.
    class Child {
    public:
        Child() = default;
        explicit Child(const TyrAdt::TreeNode<Node*>& node);

        bool IsNamed(const std::string& name) const;

        unsigned int id = 0;
        unsigned int parentId = 0;

    private:
        static constexpr unsigned char longName = 255;
        static constexpr std::size_t nameSize = 19;

        std::array<char, nameSize> name_{}; ///< of a long name: its address and length
        unsigned char length_ = 0;          ///< of a short name, or `longName`
    };

    static std::size_t HashOf(unsigned int parentId, const std::string& name);
    void ReadNewNodes(const Tree& tree);

    template <class Predicate>
    unsigned int FindRead(const Tree& tree, unsigned int parentId, const Node* pattern,
                          Predicate predicate) const {
        unsigned int lowestId = 0;
        children_.Find(HashOf(parentId, pattern->name), [&](const Child& child) {
            const bool isLower = lowestId == 0 || child.id < lowestId;
            if (isLower && child.parentId == parentId && child.IsNamed(pattern->name) &&
                Matches(tree, child.id, pattern, predicate)) {
                lowestId = child.id;
            }
            return false; // compare all
        });
        return lowestId;
    }

    /// Whether the predicate holds for a node of the same name.
    template <class Predicate>
    static bool Matches(const Tree& tree, unsigned int id, const Node* pattern,
                        Predicate predicate) {
        if constexpr (std::is_same_v<Predicate, VirtualNodesWithSameName>) {
            return true; // the name is all that it compares
        } else {
            return predicate(tree.GetReqNode(id).value, pattern);
        }
    }

    /// No first children, and of children with equal name, type and version only the first.
    TyrAdt::HashIndex<Child> children_;
    unsigned int nextId_ = 1; ///< of the first node that is not read yet
};

} // namespace TyrMek
