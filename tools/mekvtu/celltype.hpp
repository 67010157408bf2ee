/// @file
/// The VTK cell of an element.
///
/// `docs/file-format.md` lists the element types and the order of their nodes. VTK differs in two
/// ways: in quadratic hexahedra and wedges the nodes of the top edges come before those of the
/// vertical edges, and the triangles of a wedge run the other way round.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace MekVtu {

constexpr std::uint8_t vtkVertex = 1;

struct CellType {
    std::uint8_t number = 0; ///< of VTK
    /// For each node of the cell its index in the element; null if the order is the same.
    const std::uint8_t* order = nullptr;
};

/// The cell of an element of `dimension` 1, 2 or 3 with `nodes` nodes, if there is one.
///
/// If several element types have this number of nodes, the first word of the shape's name selects
/// one. A word ends before the first character that is not a capital letter, digit or underscore.
/// Other numbers of nodes give a chain of lines in one dimension and a polygon in two.
std::optional<CellType> cellType(std::string_view shapeName, unsigned dimension,
                                 std::uint64_t nodes);

/// Number of nodes of the element type that the shape is named after, if its dimension matches.
std::optional<std::uint32_t> nodesByName(std::string_view shapeName, unsigned dimension);

} // namespace MekVtu
