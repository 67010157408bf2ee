#include "tyr/mek/childindex.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <string_view>

namespace TyrMek {

namespace {

/// Where a name is that a node holds.
struct LongName {
    const char* bytes = nullptr;
    std::size_t size = 0;
};

} // namespace

ChildIndex::Child::Child(const TyrAdt::TreeNode<Node*>& node)
    : id(node.id), parentId(node.parentId) {
    const std::string_view name = node.value->name;
    if (name.size() <= name_.size()) {
        std::copy(name.begin(), name.end(), name_.begin());
        length_ = static_cast<unsigned char>(name.size());
    } else {
        const LongName place{name.data(), name.size()};
        static_assert(sizeof place <= nameSize);
        std::memcpy(name_.data(), &place, sizeof place);
        length_ = longName;
    }
}

bool ChildIndex::Child::IsNamed(const std::string& name) const {
    if (length_ != longName) {
        return name == std::string_view(name_.data(), length_);
    }
    LongName place;
    std::memcpy(&place, name_.data(), sizeof place);
    return name == std::string_view(place.bytes, place.size);
}

std::size_t ChildIndex::HashOf(unsigned int parentId, const std::string& name) {
    constexpr std::size_t oddNumber = 0x9E3779B9; // spreads consecutive ids over all bits
    return std::hash<std::string>()(name) ^ (parentId * oddNumber);
}

void ChildIndex::ReadNewNodes(const Tree& tree) {
    for (; nextId_ < tree.nextId; ++nextId_) {
        const TyrAdt::TreeNode<Node*>& node = tree.GetReqNode(nextId_);
        if (node.value != nullptr && node.previousSiblingId != 0 &&
            FindRead(tree, node.parentId, node.value, NodesWithSameName()) == 0) {
            children_.Add(HashOf(node.parentId, node.value->name), Child(node));
        }
    }
}

} // namespace TyrMek
