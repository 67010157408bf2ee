/// @file
/// The enumerations of the public interface.
///
/// @code
/// #include <tyr/mek2/model.hpp>
///
/// int main() {
///     using namespace Tyr::Mek2;
///     Model model;
///     model.saveTo("enumerations.mek", SaverOptions{true});
///     model.addNode(NodeType::RootGroup, "root");
///     const unsigned int shape = model.addNode(NodeType::Shape, "beam");
///     const Array2d<float> ends(2, 3, {0, 0, 0, 1, 0, 0}); // Coordinates: width 3
///     model.addArrayProperty(DatasetType::Coordinates, ends, shape, Step{});
/// }
/// @endcode
#pragma once

#include <tyr/export.hpp>

#include <cstdint>

namespace Tyr::Mek2 {

/// What `Model::addNode` adds.
enum class NodeType : std::int32_t {
    FlaggedRootGroup = 1, ///< root only: a group whose root flag is set
    RootGroup = 2,        ///< root only: a group
    Group = 3,            ///< a group, as the root or below it
    Shape = 4             ///< a shape; below the root it gets a geometry of the same name
};

/// Key of a node property, see `Model::setNodeData`. The comments give the type of the value.
///
/// Keys 0 to 2 are for groups, the others for shapes. A point is scaled first, then rotated, then
/// translated. Channels of colours are red, green, blue, from 0 to 1.
enum class PropertyType : std::int32_t {
    Translation = 0,      ///< `std::vector<float>` of 3: x, y, z
    Rotation = 1,         ///< `std::vector<float>` of 4: axis x, y, z and angle in radians
    Scale = 2,            ///< `std::vector<float>` of 3: factors for x, y, z
    DiffuseColor = 3,     ///< `std::vector<float>` of 3 or 4; the fourth is not used
    SpecularColor = 4,    ///< `std::vector<float>` of 3 or 4; the fourth is not used
    EmissiveColor = 5,    ///< `std::vector<float>` of 3
    AmbientColor = 6,     ///< `std::vector<float>` of 3
    Transparency = 7,     ///< `float`
    AmbientIntensity = 8, ///< `float`; ambient colour := intensity x diffuse colour
    Shininess = 9,        ///< `float`
    MaterialFlag = 10     ///< `bool`
};

/// The type of an array. It determines the width (values per row), the default name of the
/// variable, and the type of the variable in the file.
///
/// Width 1 takes an `Array1d` or an `Array2d` of one column; width 3 or 6 takes an `Array2d` of
/// that many columns. The elements are `float` or `unsigned int` for every type. By convention:
/// - The last digit of a mesh type is 0 for lines, 1 for surfaces, 2 for solids.
/// - The letter of a result type is A for values at nodes, B for values of elements. C and D have
///   no fixed meaning.
/// - The digit of a result type is its width: 1 for a scalar, 3 for a vector, 6 for a symmetric
///   tensor (xx, yy, zz, xy, yz, xz). A type that ends in `b` has no fixed meaning.
enum class DatasetType : std::int32_t {
    /// width 1, "Connectivity": row numbers of the nodes, from 0, element after element
    Connectivity0 = 0,
    Connectivity1 = 1,
    Connectivity2 = 2,
    /// width 1, "Polylength": number of nodes of each element
    Polylength0 = 3,
    Polylength1 = 4,
    Polylength2 = 5,
    /// width 1, "Part Elements"
    PartElements0 = 6,
    PartElements1 = 7,
    PartElements2 = 8,
    /// width 3, "Coordinates"
    Coordinates = 9,
    /// results A to D have no default name
    ResultA1 = 10,
    ResultA3 = 11,
    ResultA6 = 12,
    ResultA6b = 13,
    ResultB1 = 14,
    ResultB3 = 15,
    ResultB6 = 16,
    ResultB6b = 17,
    ResultC1 = 18,
    ResultC3 = 19,
    ResultC6 = 20,
    ResultC6b = 21,
    ResultD1 = 22,
    ResultD1b = 23,
    ResultD3 = 24,
    ResultD6 = 25,
    ResultD6b = 26,
    NodeIds = 27,       ///< width 1, "Node Ids", like `ResultA1`
    ElementIds = 28,    ///< width 1, "Element IDs", like `ResultB1`
    Displacement3 = 29, ///< width 3, "Displacement", like `ResultA3`
    Displacement6 = 30  ///< width 6, "Displacement", like `ResultA6`
};

} // namespace Tyr::Mek2
