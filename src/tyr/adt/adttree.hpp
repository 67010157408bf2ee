/// @file
/// A tree whose nodes are linked by id, with a cursor.
#pragma once

#include "tyr/adt/watched.hpp"
#include "tyr/exception/raise.hpp"

#include <cstddef>
#include <iterator>
#include <map>
#include <type_traits>
#include <utility>
#include <vector>

namespace TyrAdt {

/// A node and its place in the tree. The order of the ids is part of the file format.
template <class T>
struct TreeNode {
    unsigned int id = 0;
    unsigned int parentId = 0;
    unsigned int previousSiblingId = 0;
    unsigned int nextSiblingId = 0;
    unsigned int firstChildId = 0;
    unsigned int lastChildId = 0;
    T value{};
};

/// Holds nodes by id and a cursor through which nearly every operation works.
///
/// Id 1 is the root and exists from construction; 0 means no node. Ids count up in order of
/// creation and are never reused. The tree owns its nodes, which only `AddChild` adds, but not what
/// a payload that is a pointer points to.
///
/// A node is found by its id in `byId_`. The map is searched instead after `nodes` was exposed,
/// which `GetCurrentNode` does as well, or `nextId` was set: other code can have changed them.
template <class T>
class Tree {
    using NodeMap = std::map<unsigned int, TreeNode<T>>;

public:
    Tree() : byId_{nullptr, &nodes.items_[1]} { byId_.back()->id = 1; }
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;

    /// @throws KeyNotFound no such node
    const TreeNode<T>& GetReqNode(const unsigned int& id) const {
        const TreeNode<T>* const node = FindNode(id);
        if (node == nullptr) {
            TYR_RAISE(Tyr::Exception::KeyNotFound());
        }
        return *node;
    }

    /// The node under the cursor, writable to attach a payload.
    /// @throws KeyNotFound the cursor is on no node
    TreeNode<T>& GetCurrentNode() {
        TreeNode<T>& node = CurrentNode();
        nodes.Exposed();
        return node;
    }

    /// The node under the cursor.
    /// @throws KeyNotFound the cursor is on no node
    const TreeNode<T>& GetCurrentNode() const {
        const TreeNode<T>* const node = FindNode(currentId);
        if (node == nullptr) {
            TYR_RAISE(Tyr::Exception::KeyNotFound());
        }
        return *node;
    }

    /// @throws KeyNotFound `id` is not below `nextId`; 0 is accepted
    void SetCurrentId(unsigned int id) {
        if (id >= nextId) {
            TYR_RAISE(Tyr::Exception::KeyNotFound());
        }
        currentId = id;
    }

    /// Moves the cursor to the child of the lowest id for which `predicate(payload, pattern)`
    /// holds. Visits all nodes. A null pointer as payload never matches.
    /// @throws KeyNotFound there is no such child; the cursor stays
    template <class Predicate>
    void MoveToChild(const T& pattern, Predicate predicate) {
        const unsigned int id = FindChild(pattern, predicate);
        if (id == 0) {
            TYR_RAISE(Tyr::Exception::KeyNotFound());
        }
        currentId = id;
    }

    /// Allocates the next `count` children, so that adding them cannot fail for lack of memory.
    void PrepareChildren(unsigned int count) {
        while (prepared_.size() < count) {
            prepared_.emplace(static_cast<unsigned int>(prepared_.size()), TreeNode<T>());
        }
        if (byId_.size() + count > byId_.capacity()) {
            byId_.reserve(2 * (byId_.size() + count));
        }
    }

    /// Appends a child without payload to the current node and moves the cursor to it.
    /// @throws KeyNotFound the cursor is on no node; nothing changes
    void AddChild() {
        TreeNode<T>& parent = CurrentNode();
        PrepareChildren(1);
        const unsigned int id = nextId++;
        TreeNode<T>& child = InsertPrepared(id);
        child.id = id;
        child.parentId = currentId;
        child.previousSiblingId = parent.lastChildId;
        if (TreeNode<T>* const previous = FindNode(parent.lastChildId)) {
            previous->nextSiblingId = id;
        } else {
            parent.firstChildId = id;
        }
        parent.lastChildId = id;
        currentId = id;
    }

    /// Moves the cursor one level up; at the root it does nothing.
    /// @throws KeyNotFound the cursor is on no node
    void MoveToParent() {
        const unsigned int parentId = CurrentNode().parentId;
        if (parentId != 0) {
            currentId = parentId;
        }
    }

    Watched<NodeMap, Tree> nodes;
    unsigned int nextId = 2;
    unsigned int currentId = 1;

protected:
    /// Whether only this class has changed `nodes` and `nextId`, so that `byId_`, and every index
    /// that a derived class keeps of the nodes, is exact.
    bool IsIndexed() const { return !nodes.IsExposed() && byId_.size() == nextId; }

    /// Attaches a payload to the current node.
    /// @throws KeyNotFound the cursor is on no node
    void SetCurrentValue(const T& value) { CurrentNode().value = value; }

    /// The child that `MoveToChild` moves to, or 0.
    template <class Predicate>
    unsigned int FindChild(const T& pattern, Predicate predicate) const {
        for (const auto& [id, node] : nodes) {
            if (node.parentId == currentId && HasValue(node) && predicate(node.value, pattern)) {
                return id;
            }
        }
        return 0;
    }

private:
    static bool HasValue(const TreeNode<T>& node) {
        if constexpr (std::is_pointer_v<T>) {
            return node.value != nullptr;
        }
        return true;
    }

    const TreeNode<T>* FindNode(unsigned int id) const {
        if (IsIndexed()) {
            return id < byId_.size() ? byId_[id] : nullptr;
        }
        const auto found = nodes.items_.find(id);
        return found != nodes.items_.end() ? &found->second : nullptr;
    }

    // NOLINTBEGIN(cppcoreguidelines-pro-type-const-cast): the tree is not constant here
    TreeNode<T>* FindNode(unsigned int id) {
        return const_cast<TreeNode<T>*>(std::as_const(*this).FindNode(id));
    }

    TreeNode<T>& CurrentNode() {
        return const_cast<TreeNode<T>&>(std::as_const(*this).GetCurrentNode());
    }
    // NOLINTEND(cppcoreguidelines-pro-type-const-cast)

    /// Moves a prepared node into the tree.
    TreeNode<T>& InsertPrepared(unsigned int id) {
        auto prepared = prepared_.extract(std::prev(prepared_.end()));
        prepared.key() = id;
        NodeMap& map = nodes.items_;
        TreeNode<T>& node = map.insert(map.end(), std::move(prepared))->second;
        if (byId_.size() == id) {
            byId_.push_back(&node);
        } else {
            nodes.Exposed(); // `nextId` was set, and can be set again to a number that fits `byId_`
        }
        return node;
    }

    /// The node of each id, null for 0; not used once `IsIndexed` is false.
    std::vector<TreeNode<T>*> byId_;
    NodeMap prepared_; ///< allocated nodes that are not in the tree yet
};

} // namespace TyrAdt
