/// @file
/// The meshes of a geometry, one for each step that has mesh arrays.
#pragma once

#include "meklint/arrayfacts.hpp"
#include "mekreader/model.hpp"

#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

namespace MekLint {

/// The variables of one mesh; null for those that are missing.
struct MeshVariables {
    const MekReader::Variable* coordinates = nullptr;
    const MekReader::Variable* connectivity = nullptr;
    const MekReader::Variable* polylength = nullptr;
};

/// Dimension 1, 2 or 3 of the elements.
unsigned dimensionOf(const MekReader::Variable& connectivity);

/// Sorts the mesh variables of a geometry by step in one pass. Variables without an array are
/// ignored.
class Meshes {
public:
    /// @param geometry must outlive the object
    explicit Meshes(const MekReader::Node& geometry);

    /// The mesh that applies to a step: of each array the one of that step, or else the one without
    /// a step.
    MeshVariables at(std::string_view step) const;

    /// The steps that have mesh arrays. The empty step is included if arrays without a step apply
    /// alone: they form a mesh, or no step has coordinates.
    std::vector<std::string_view> steps() const;

    /// Variables that a viewer ignores, because another one has the same use and step.
    const std::vector<const MekReader::Variable*>& ignored() const { return ignored_; }

private:
    std::map<std::string_view, MeshVariables> meshes_; ///< by step, without those of other steps
    std::vector<const MekReader::Variable*> ignored_;
};

/// Number of elements of a mesh with coordinates; without connectivity each node is one. Empty if
/// it is unknown.
/// @param shape name that determines the number of nodes of an element without polylength
std::optional<std::uint64_t> countElements(const MeshVariables& mesh, std::string_view shape);

} // namespace MekLint
