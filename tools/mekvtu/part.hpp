/// @file
/// The parts of a model: what becomes a file of its own at every step.
#pragma once

#include "mekreader/model.hpp"
#include "mekvtu/mesh.hpp"
#include "mekvtu/placement.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace MekVtu {

/// A shape with its mesh, or the nodes that no shape uses.
struct Part {
    const MekReader::Node* geometry = nullptr; ///< that has the results
    const MekReader::Node* shape = nullptr;    ///< above it; null for a geometry without
    MeshSource source{};
    bool isOfUnusedNodes = false;
    std::uint64_t number = 0; ///< the same at all steps
    std::string name{};       ///< names of the groups above and of the shape
    Placement placement{};
    Mesh mesh{}; ///< placed
};

/// Gives the parts of each step; meshes that do not change from one step to the next are read once.
class Parts {
public:
    /// @param file must outlive the parts
    explicit Parts(MekReader::File& file);

    /// One part for each geometry with coordinates. Where no element of any shape uses some rows of
    /// the coordinates, a further part has these as points, with the results and the placement of
    /// the first geometry of those coordinates.
    /// @return valid until the next call
    /// @throws MekReader::Error a mesh or the tree is broken
    const std::vector<Part>& at(std::string_view step);

private:
    void read(const std::vector<MeshSource>& sources);
    Part partOf(std::size_t index, const MeshSource& source) const;
    void addUnusedNodes();
    void place();

    MekReader::File& file_;
    std::vector<const MekReader::Node*> geometries_;
    std::vector<MeshSource> sources_; ///< of `parts_`, one for each geometry
    std::vector<Part> parts_;
};

} // namespace MekVtu
