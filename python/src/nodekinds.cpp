#include "nodekinds.hpp"

#include <tyr/exception/exception.hpp>

#include <string>

namespace MekPython {

void NodeKinds::addNode(Tyr::Mek2::NodeType type, unsigned int id) {
    if (type != Tyr::Mek2::NodeType::Shape) {
        kinds_.push_back(NodeKind::Group);
        return;
    }
    kinds_.push_back(NodeKind::Shape);
    if (kinds_.size() < id) { // not the root
        kinds_.push_back(NodeKind::Geometry);
    }
}

/// The new nodes of a path are groups, except for the last two of a path that leads to a shape.
void NodeKinds::addPath(bool leadsToGroup, unsigned int id) {
    if (id <= kinds_.size()) {
        return;
    }
    const bool hasNewShape = !leadsToGroup && id > 1; // the path of a new root leads to a group
    kinds_.resize(id, NodeKind::Group);
    if (hasNewShape) {
        kinds_[id - 2] = NodeKind::Shape;
        kinds_[id - 1] = NodeKind::Geometry;
    }
}

std::vector<unsigned int> NodeKinds::geometries(const std::vector<unsigned int>& ids) const {
    std::vector<unsigned int> result;
    result.reserve(ids.size());
    for (const unsigned int id : ids) {
        result.push_back(geometry(id));
    }
    return result;
}

unsigned int NodeKinds::geometry(unsigned int id) const {
    const std::string node = std::to_string(id);
    if (!contains(id)) {
        throw Tyr::Exception::KeyNotFound(("no node has the id " + node).c_str());
    }
    if (of(id) == NodeKind::Group) {
        const std::string message = "arrays are for shapes; node " + node + " is a group";
        throw Tyr::Exception::InvalidArguments(message.c_str());
    }
    if (of(id) == NodeKind::Geometry) {
        return id;
    }
    if (!contains(id + 1) || of(id + 1) != NodeKind::Geometry) {
        throw Tyr::Exception::InvalidArguments("the root is a shape, which has no geometry");
    }
    return id + 1;
}

} // namespace MekPython
