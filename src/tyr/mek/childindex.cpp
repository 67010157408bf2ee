#include "tyr/mek/childindex.hpp"

#include <algorithm>
#include <cstring>
#include <functional>
#include <string_view>

namespace TyrMek {

ChildIndex::Child::Child(const TyrAdt::TreeNode<Node*>& node)
    : id(node.id), parentId(node.parentId) {
    const std::string_view name = node.value->name;
    if (name.size() <= name_.size()) {
        std::copy(name.begin(), name.end(), name_.begin());
        length_ = static_cast<unsigned char>(name.size());
    } else {
        static_assert(sizeof(std::string_view) <= nameSize);
        std::memcpy(name_.data(), &name, sizeof(std::string_view));
        length_ = longName;
    }
}

bool ChildIndex::Child::IsNamed(const std::string& name) const {
    if (length_ != longName) {
        return name == std::string_view(name_.data(), length_);
    }
    std::string_view ownName;
    std::memcpy(&ownName, name_.data(), sizeof(std::string_view));
    return name == ownName;
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
