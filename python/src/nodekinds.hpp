/// @file
/// The kinds of the nodes of a model. The library has no call that returns the kind of a node.
#pragma once

#include <tyr/mek2/enumerations.hpp>

#include <vector>

namespace MekPython {

enum class NodeKind : unsigned char { Group, Shape, Geometry };

/// Records the kind of every node as it is added. A kind never changes.
class NodeKinds {
public:
    /// @param id what `Model::addNode` returned
    void addNode(Tyr::Mek2::NodeType type, unsigned int id);

    /// @param id what `Model::addAssemblyComponents` returned for one path; 0 adds nothing
    void addPath(bool leadsToGroup, unsigned int id);

    bool contains(unsigned int id) const { return id > 0 && id <= kinds_.size(); }

    /// @param id of a node of the model
    NodeKind of(unsigned int id) const { return kinds_[id - 1]; }

    /// The geometries of shapes and geometries, to which arrays are added.
    /// @throws KeyNotFound no node has one of the ids
    /// @throws InvalidArguments one of them is a group, or a root shape, which has no geometry
    std::vector<unsigned int> geometries(const std::vector<unsigned int>& ids) const;

private:
    unsigned int geometry(unsigned int id) const;

    std::vector<NodeKind> kinds_; ///< of the ids from 1
};

} // namespace MekPython
