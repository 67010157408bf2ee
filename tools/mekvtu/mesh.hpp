/// @file
/// The mesh of a geometry in the form that VTK uses.
///
/// A mesh consists of up to three variables, by their types: coordinates; connectivity (zero-based
/// rows of the coordinates; the type gives the dimension of the elements); and polylength (the
/// number of nodes of each element).
#pragma once

#include "mekreader/model.hpp"
#include "mekreader/variables.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace MekVtu {

/// The owners of the arrays of a mesh; null for an array that the geometry does not have. Two
/// geometries that share their coordinates have the same owner.
struct MeshSource {
    const MekReader::Variable* coordinates = nullptr;
    const MekReader::Variable* connectivity = nullptr;
    const MekReader::Variable* polylength = nullptr;
    unsigned dimension = 0; ///< of the elements: 1, 2 or 3; 0 without connectivity

    bool operator==(const MeshSource& other) const {
        return coordinates == other.coordinates && connectivity == other.connectivity &&
               polylength == other.polylength && dimension == other.dimension;
    }
    bool holds(const MekReader::Variable* owner) const {
        return owner == coordinates || owner == connectivity || owner == polylength;
    }
};

/// The mesh of `step`: of each array the one of that step, or else the one without a step.
MeshSource meshSource(const MekReader::File& file, const MekReader::Node& geometry,
                      std::string_view step);

/// Points and cells. The points are the rows of the coordinates that the cells use, in ascending
/// order.
struct Mesh {
    std::uint64_t coordinateRows = 0;  ///< of all nodes, used or not
    std::vector<std::uint32_t> rows{}; ///< of the coordinates, one for each point
    std::vector<float> points{};       ///< three values each
    std::vector<std::int64_t> connectivity{};
    std::vector<std::int64_t> offsets{}; ///< end of the nodes of each cell in `connectivity`
    std::vector<std::uint8_t> types{};
};

/// Reads a mesh. Without connectivity every row is a point and a cell of one node.
/// @param name of the shape, for error messages and for elements without polylength
/// @throws MekReader::Error the arrays do not form a mesh
Mesh readMesh(MekReader::File& file, const MeshSource& source, const std::string& name);

/// A mesh of the given rows of the coordinates, each one a cell of one node.
Mesh pointMesh(MekReader::File& file, const MeshSource& source, std::vector<std::uint32_t> rows);

} // namespace MekVtu
