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

std::string pathOf(const File& file, const Node& node) {
    std::string path = node.type == "Geometry" ? std::string() : '/' + node.name;
    for (const Node* const ancestor : ancestorsOf(file, node)) {
        path.insert(0, '/' + ancestor->name);
    }
    return path;
}

} // namespace MekReader
