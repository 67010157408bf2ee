#include "mekreader/navigation.hpp"

#include "mekreader/error.hpp"

namespace MekReader {

std::vector<const Node*> ancestorsOf(const File& file, const Node& node) {
    std::vector<const Node*> ancestors;
    std::uint32_t id = node.id;
    for (std::uint32_t parent = node.parent; parent != 0;) {
        // ids that decrease cannot form a circle
        if (parent >= id || parent > file.nodes().size()) {
            throw Error("node " + std::to_string(id) + ": invalid parent " +
                        std::to_string(parent));
        }
        ancestors.push_back(&file.nodes()[parent - 1]);
        id = parent;
        parent = ancestors.back()->parent;
    }
    return ancestors;
}

std::vector<const Node*> childrenOf(const File& file, const Node& node) {
    std::vector<const Node*> children;
    std::uint32_t previous = node.id;
    for (std::uint32_t id = node.firstChild; id != 0; id = children.back()->nextSibling) {
        // ids that increase cannot form a circle
        if (id <= previous || id > file.nodes().size() || file.nodes()[id - 1].parent != node.id) {
            throw Error("node " + std::to_string(node.id) + ": invalid child " +
                        std::to_string(id));
        }
        children.push_back(&file.nodes()[id - 1]);
        previous = id;
    }
    return children;
}

std::string pathOf(const File& file, const Node& node) {
    std::string path = node.type == "Geometry" ? std::string() : '/' + node.name;
    for (const Node* const ancestor : ancestorsOf(file, node)) {
        path.insert(0, '/' + ancestor->name);
    }
    return path;
}

} // namespace MekReader
