#include "tyr/mek/childindex.hpp"

#include <functional>
#include <string>

namespace TyrMek {

std::size_t ChildIndex::HashOf(unsigned int parentId, const Node& node) {
    constexpr std::size_t oddNumber = 0x9E3779B9; // spreads consecutive ids over all bits
    return std::hash<std::string>()(node.name) ^ (parentId * oddNumber);
}

void ChildIndex::ReadNewNodes(const Tree& tree) {
    for (; nextId_ < tree.nextId; ++nextId_) {
        const TreeNode& node = tree.GetReqNode(nextId_);
        if (node.value != nullptr && node.previousSiblingId != 0 &&
            FindRead(node.parentId, node.value, NodesWithSameName()) == 0) {
            nodes_.Add(HashOf(node.parentId, *node.value), &node);
        }
    }
}

} // namespace TyrMek
