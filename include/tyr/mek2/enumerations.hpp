/// @file
/// The enumerations of the public interface.
#pragma once

#include <cstdint>

namespace Tyr::Mek2 {

/// What `Model::addNode` adds.
enum class NodeType : std::int32_t {
    FlaggedRootGroup = 1, ///< root only: a group whose root flag is set
    RootGroup = 2,        ///< root only: a group
    Group = 3,            ///< a group, as root or below
    Shape = 4             ///< a shape; below the root with a geometry of the same name
};

/// Key of a node property, see `Model::setNodeData`.
///
/// Keys 0 to 2 belong to groups, the others to shapes.
enum class PropertyType : std::int32_t {
    Translation = 0,      ///< `std::vector<float>` of 3
    Rotation = 1,         ///< `std::vector<float>` of 4, stored as given
    Scale = 2,            ///< `std::vector<float>` of 3
    DiffuseColor = 3,     ///< `std::vector<float>` of 3 or 4; the fourth is not used
    SpecularColor = 4,    ///< `std::vector<float>` of 3 or 4; the fourth is not used
    EmissiveColor = 5,    ///< `std::vector<float>` of 3
    AmbientColor = 6,     ///< `std::vector<float>` of 3
    Transparency = 7,     ///< `float`
    AmbientIntensity = 8, ///< `float`; ambient colour := intensity x diffuse colour
    Shininess = 9,        ///< `float`
    MaterialFlag = 10     ///< `bool`
};

/// What an array is. It fixes the numbers per row, the name used when the caller gives none, and
/// the kind of variable that a reader finds.
///
/// A value of width 1 takes an `Array1d` or an `Array2d` of one column, a value of width 3 or 6 an
/// `Array2d` of that many columns. The element type is free.
enum class DatasetType : std::int32_t {
    Connectivity0 = 0,  ///< width 1, "Connectivity"
    Connectivity1 = 1,  ///< width 1, "Connectivity"
    Connectivity2 = 2,  ///< width 1, "Connectivity"
    Polylength0 = 3,    ///< width 1, "Polylength"
    Polylength1 = 4,    ///< width 1, "Polylength"
    Polylength2 = 5,    ///< width 1, "Polylength"
    PartElements0 = 6,  ///< width 1, "Part Elements"
    PartElements1 = 7,  ///< width 1, "Part Elements"
    PartElements2 = 8,  ///< width 1, "Part Elements"
    Coordinates = 9,    ///< width 3, "Coordinates"
    ResultA1 = 10,      ///< width 1, no default name
    ResultA3 = 11,      ///< width 3, no default name
    ResultA6 = 12,      ///< width 6, no default name
    ResultA6b = 13,     ///< width 6, no default name
    ResultB1 = 14,      ///< width 1, no default name
    ResultB3 = 15,      ///< width 3, no default name
    ResultB6 = 16,      ///< width 6, no default name
    ResultB6b = 17,     ///< width 6, no default name
    ResultC1 = 18,      ///< width 1, no default name
    ResultC3 = 19,      ///< width 3, no default name
    ResultC6 = 20,      ///< width 6, no default name
    ResultC6b = 21,     ///< width 6, no default name
    ResultD1 = 22,      ///< width 1, no default name
    ResultD1b = 23,     ///< width 1, no default name
    ResultD3 = 24,      ///< width 3, no default name
    ResultD6 = 25,      ///< width 6, no default name
    ResultD6b = 26,     ///< width 6, no default name
    NodeIds = 27,       ///< width 1, "Node Ids"
    ElementIds = 28,    ///< width 1, "Element IDs"
    Displacement3 = 29, ///< width 3, "Displacement"
    Displacement6 = 30  ///< width 6, "Displacement"
};

} // namespace Tyr::Mek2
