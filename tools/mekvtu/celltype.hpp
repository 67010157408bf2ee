/// @file
/// How an element of a container becomes a cell of VTK.
///
/// A container gives the nodes of an element in the order of the solver's result file: corners
/// first, then the nodes on the edges; of solids those of the lower face, of the upright edges, of
/// the upper face, where VTK has the upper face before the upright edges. The first face of a wedge
/// is seen from inside in the result file and from outside in VTK. Elements that the result file
/// does not know have VTK's own order.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace MekVtu {

constexpr std::uint8_t vtkVertex = 1;

struct CellType {
    std::uint8_t number = 0; ///< of VTK
    /// The place in the element of each node of the cell; null where the order is the same.
    const std::uint8_t* order = nullptr;
};

/// The cell of an element of `dimension` 1, 2 or 3 with `nodes` nodes; none if there is no such.
///
/// The shape's name, such as "HE20", decides where several elements have as many nodes; behind a
/// character that is no capital letter, digit or underscore more may follow. What is no element of
/// its own is a chain of lines in one dimension and a polygon in two.
std::optional<CellType> cellType(std::string_view shapeName, unsigned dimension,
                                 std::uint64_t nodes);

/// Nodes of an element by the name of its shape; none if the name is no element of this dimension.
std::optional<std::uint32_t> nodesByName(std::string_view shapeName, unsigned dimension);

} // namespace MekVtu
