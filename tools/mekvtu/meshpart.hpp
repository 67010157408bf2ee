/// @file
/// The mesh parts of a model. Each one is exported to one file per step.
#pragma once

#include "mekreader/model.hpp"
#include "mekvtu/mesh.hpp"
#include "mekvtu/placement.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace MekVtu {

/// A shape with its mesh, or the nodes that no element uses.
struct MeshPart {
    const MekReader::Node* geometry = nullptr; ///< with the results
    const MekReader::Node* shape = nullptr;    ///< parent of the geometry; null if there is none
    MeshSource source{};
    bool isOfUnusedNodes = false;
    std::uint64_t number = 0; ///< the same at all steps
    std::string name{};       ///< names of the groups and the shape, joined by "/"
    Placement placement{};
    Mesh mesh{}; ///< with the placement applied
};

/// Reads the mesh parts of each step. Meshes that do not change between steps are read once.
class MeshParts {
public:
    /// @param file must outlive the object
    explicit MeshParts(MekReader::File& file);

    /// One mesh part for each geometry with coordinates. Rows of the coordinates that no element
    /// uses form a further mesh part of points, with the results and the placement of the first
    /// geometry that has those coordinates.
    /// @return valid until the next call
    /// @throws MekReader::Error a mesh or the tree is invalid
    const std::vector<MeshPart>& at(std::string_view step);

private:
    void read(const std::vector<MeshSource>& sources);
    MeshPart meshPartOf(std::size_t index, const MeshSource& source) const;
    void addUnusedNodes();

    MekReader::File& file_;
    std::vector<const MekReader::Node*> geometries_;
    std::vector<MeshSource> sources_; ///< of `meshParts_`, one for each geometry
    std::vector<MeshPart> meshParts_;
};

} // namespace MekVtu
