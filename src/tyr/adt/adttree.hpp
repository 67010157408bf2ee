/// @file
/// A tree whose nodes are linked by id, with a cursor.
#pragma once

#include "tyr/exception/raise.hpp"

#include <cstddef>
#include <iterator>
#include <map>
#include <string_view>
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

/// What a search among children needs to know of a payload, specialised next to the payload type:
///
///     static std::string_view name(const T&);  // never changes and lives as long as the payload
///     static bool isSameKind(const T&, const T&);
///
/// No predicate may hold for payloads of different names, and two payloads of equal name and kind
/// must be the same to every predicate.
template <class T>
struct SearchTraits;

/// The children of a tree by parent and name. It catches up with the tree when it is asked, so
/// that a tree that is never searched pays nothing. The first children of a node are looked at one
/// by one: that takes no longer, and a tree whose nodes all have few children is never indexed.
///
/// It is ordered, not hashed: what is added or asked for in turn has neighbouring names or parents
/// mostly, and then lies side by side in memory.
template <class T>
class ChildIndex {
public:
    /// By id; none is null but the one of id 0.
    using Nodes = std::vector<TreeNode<T>*>;

    /// The lowest id of a child of `parentId` for which `predicate(payload, pattern)` holds, or 0.
    template <class Predicate>
    unsigned int find(const Nodes& nodes, unsigned int parentId, const T& pattern,
                      Predicate predicate) {
        unsigned int id = firstChildOf(nodes, parentId);
        for (int seen = 0; id != 0 && seen != childrenSeenOneByOne; ++seen) {
            const TreeNode<T>& child = *nodes[id];
            if (child.value != nullptr && predicate(child.value, pattern)) {
                return id;
            }
            id = child.nextSiblingId;
        }
        return id == 0 ? 0 : findInIndex(nodes, parentId, pattern, predicate);
    }

private:
    template <class Predicate>
    unsigned int findInIndex(const Nodes& nodes, unsigned int parentId, const T& pattern,
                             Predicate predicate) {
        catchUp(nodes);
        unsigned int found = 0;
        const Key key{parentId, SearchTraits<T>::name(pattern)};
        for (auto at = children_.lower_bound(key); hasKey(at, key); ++at) {
            const TreeNode<T>& child = *at->second;
            if ((found == 0 || child.id < found) && predicate(child.value, pattern)) {
                found = child.id;
            }
        }
        return found;
    }

    struct Key {
        unsigned int parentId = 0;
        std::string_view name{};
        bool operator==(const Key& other) const {
            return parentId == other.parentId && name == other.name;
        }
        bool operator<(const Key& other) const {
            return parentId != other.parentId ? parentId < other.parentId : name < other.name;
        }
    };
    using Children = std::multimap<Key, const TreeNode<T>*>;

    static constexpr int childrenSeenOneByOne = 16;

    static unsigned int firstChildOf(const Nodes& nodes, unsigned int parentId) {
        if (parentId == 0) {
            return 1; // the root is found from no node
        }
        return parentId < nodes.size() ? nodes[parentId]->firstChildId : 0;
    }

    bool hasKey(typename Children::const_iterator at, const Key& key) const {
        return at != children_.end() && at->first == key;
    }

    void catchUp(const Nodes& nodes) {
        if (!withoutPayload_.empty()) {
            std::vector<const TreeNode<T>*> stillEmpty;
            for (const TreeNode<T>* const node : withoutPayload_) {
                add(*node, stillEmpty);
            }
            withoutPayload_.swap(stillEmpty);
        }
        for (; nextToIndex_ < nodes.size(); ++nextToIndex_) {
            add(*nodes[nextToIndex_], withoutPayload_);
        }
    }

    /// Of children alike only the first added can ever be found, so the others are left out.
    void add(const TreeNode<T>& node, std::vector<const TreeNode<T>*>& empty) {
        if (node.previousSiblingId == 0) {
            return; // always seen before the index is asked
        }
        if (node.value == nullptr) {
            empty.push_back(&node);
            return;
        }
        const Key key{node.parentId, SearchTraits<T>::name(node.value)};
        auto at = children_.lower_bound(key);
        for (; hasKey(at, key); ++at) {
            if (SearchTraits<T>::isSameKind(at->second->value, node.value)) {
                at->second = at->second->id < node.id ? at->second : &node;
                return;
            }
        }
        children_.emplace_hint(at, key, &node);
    }

    Children children_;
    std::vector<const TreeNode<T>*> withoutPayload_;
    std::size_t nextToIndex_ = 1; ///< of the first node that is not in yet
};

/// Holds nodes by id and a cursor through which nearly every operation works.
///
/// Id 1 is the root and exists from construction; 0 stands for no node. Ids count up in order of
/// creation and are never reused. The tree owns its nodes, which only `AddChild` adds, but not what
/// a pointer payload points to. A payload, once attached, stays.
template <class T>
class Tree {
public:
    Tree() : byId_{nullptr, &nodes[1]} { nodes[1].id = 1; }
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;

    /// @throws KeyNotFound no such node
    const TreeNode<T>& GetReqNode(const unsigned int& id) const {
        if (!exists(id)) {
            TYR_RAISE(Tyr::Exception::KeyNotFound());
        }
        return *byId_[id];
    }

    /// The node under the cursor, writable to attach a payload.
    /// @throws KeyNotFound the cursor is on no node
    TreeNode<T>& GetCurrentNode() {
        if (!exists(currentId)) {
            TYR_RAISE(Tyr::Exception::KeyNotFound());
        }
        return *byId_[currentId];
    }

    /// @throws KeyNotFound `id` was never handed out; 0 passes
    void SetCurrentId(unsigned int id) {
        if (id >= nextId) {
            TYR_RAISE(Tyr::Exception::KeyNotFound());
        }
        currentId = id;
    }

    /// The first added child of the current node for which `predicate(payload, pattern)` holds, or
    /// 0. Children without payload are passed over. For what a predicate may tell apart, see
    /// `SearchTraits`.
    template <class Predicate>
    unsigned int FindChild(const T& pattern, Predicate predicate) {
        return childIndex_.find(byId_, currentId, pattern, predicate);
    }

    /// Moves the cursor to the child that `FindChild` gives.
    /// @throws KeyNotFound there is none; the cursor stays
    template <class Predicate>
    void MoveToChild(const T& pattern, Predicate predicate) {
        const unsigned int id = FindChild(pattern, predicate);
        if (id == 0) {
            TYR_RAISE(Tyr::Exception::KeyNotFound());
        }
        currentId = id;
    }

    /// Takes memory for the next `count` children ahead, so that adding them cannot lack it.
    void PrepareChildren(unsigned int count) {
        while (prepared_.size() < count) {
            prepared_.emplace(static_cast<unsigned int>(prepared_.size()), TreeNode<T>());
        }
        if (byId_.size() + count > byId_.capacity()) {
            byId_.reserve(2 * (byId_.size() + count));
        }
    }

    /// Appends a child without payload to the current node and moves the cursor to it.
    /// @throws KeyNotFound the cursor is on no node; nothing is changed
    void AddChild() {
        TreeNode<T>& parent = GetCurrentNode();
        const unsigned int id = nextId;
        PrepareChildren(1);
        auto prepared = prepared_.extract(std::prev(prepared_.end()));
        prepared.key() = id;
        TreeNode<T>& child = nodes.insert(nodes.end(), std::move(prepared))->second;
        child.id = id;
        child.parentId = currentId;
        child.previousSiblingId = parent.lastChildId;
        byId_.push_back(&child);
        ++nextId;
        if (parent.lastChildId == 0) {
            parent.firstChildId = id;
        } else {
            byId_[parent.lastChildId]->nextSiblingId = id;
        }
        parent.lastChildId = id;
        currentId = id;
    }

    /// Moves the cursor one level up; at the root it does nothing.
    /// @throws KeyNotFound the cursor is on no node
    void MoveToParent() {
        const unsigned int parentId = GetCurrentNode().parentId;
        if (parentId != 0) {
            currentId = parentId;
        }
    }

    std::map<unsigned int, TreeNode<T>> nodes;
    unsigned int nextId = 2;
    unsigned int currentId = 1;

private:
    bool exists(unsigned int id) const { return id != 0 && id < byId_.size(); }

    std::vector<TreeNode<T>*> byId_; ///< the way into `nodes` without a search; 0 has none
    ChildIndex<T> childIndex_;
    std::map<unsigned int, TreeNode<T>> prepared_; ///< nodes that are not in the tree yet
};

} // namespace TyrAdt
