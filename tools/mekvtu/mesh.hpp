/// @file
/// The mesh of a geometry as VTK wants it.
///
/// What makes a mesh: a variable of the kind coordinates; one of the kinds of connectivity, with
/// zero-based rows of the coordinates, whose kind tells the dimension of the elements; and one of
/// the kind polylength with the number of nodes of each element.
#pragma once

#include "mekreader/model.hpp"
#include "mekvtu/variables.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace MekVtu {

/// Where a mesh stands; null for what is not there. The owners of the data, so that two geometries
/// with one set of coordinates have the same.
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

/// The mesh that holds for `step`: its own arrays, or else those without a step.
MeshSource meshSource(const MekReader::File& file, const MekReader::Node& geometry,
                      std::string_view step);

/// Points and cells. The points are those rows of the coordinates that the cells use, in the order
/// of the rows.
struct Mesh {
    std::uint64_t coordinateRows = 0;  ///< all that there are
    std::vector<std::uint32_t> rows{}; ///< of the coordinates, one for each point
    std::vector<float> points{};       ///< three values each
    std::vector<std::int64_t> connectivity{};
    std::vector<std::int64_t> offsets{}; ///< where the nodes of each cell end
    std::vector<std::uint8_t> types{};
};

/// Without connectivity every row is a point and a cell of one node.
/// @param name of the shape, in failures and for elements without polylength
/// @throws MekReader::Error the arrays do not make a mesh
Mesh readMesh(MekReader::File& file, const MeshSource& source, const std::string& name);

/// The given rows of the coordinates, each one a cell of one node.
Mesh pointMesh(MekReader::File& file, const MeshSource& source, std::vector<std::uint32_t> rows);

} // namespace MekVtu
