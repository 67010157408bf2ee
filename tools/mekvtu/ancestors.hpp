/// @file
/// The ancestors of a node.
#pragma once

#include "mekreader/error.hpp"
#include "mekreader/model.hpp"

#include <string>
#include <vector>

namespace MekVtu {

/// The parent, its parent and so on; the root last.
/// @throws MekReader::Error a parent does not have a smaller id than its child
inline std::vector<const MekReader::Node*> ancestorsOf(const MekReader::File& file,
                                                       const MekReader::Node& node) {
    std::vector<const MekReader::Node*> ancestors;
    std::uint32_t id = node.id;
    for (std::uint32_t parent = node.parent; parent != 0;) {
        // ids that decrease cannot form a circle
        if (parent >= id || parent > file.nodes().size()) {
            throw MekReader::Error("node " + std::to_string(id) + ": invalid parent " +
                                   std::to_string(parent));
        }
        ancestors.push_back(&file.nodes()[parent - 1]);
        id = parent;
        parent = ancestors.back()->parent;
    }
    return ancestors;
}

} // namespace MekVtu
