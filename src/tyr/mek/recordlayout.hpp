/// @file
/// Offsets of the fields in the records of nodes, in bytes from the start of each record.
///
/// Strings (32-bit length, bytes) and attribute lists have no fixed length; what follows one has no
/// fixed offset and is listed in order.
///
///     "Mek Tree", one record for each node
///         0 id, 4 parent, 8 previous sibling, 12 next sibling, 16 first child, 20 last child,
///         24 name, then type, version (strings), offset in "Light Data" (8 bytes)
///     "Light Data", one record for each group, see `GroupRecord`
///     "Light Data", one record for each variable of a geometry
///         0 name (string), then element type << 24 | variable type (4), linked (1), and
///         of a link: node id (4), variable index (4)
///         of an owner: size in bytes (4), width (1), first option (1), second option (1), first
///             value (4), second value (4), third option (1), offset in "Heavy Data" (8)
///         then vibration (1)
///     "Resources", one record for each shape, see `MaterialRecord`
#pragma once

#include <cstdint>

namespace TyrMek {

/// A group in "Light Data"; its attributes are put before `rootFlag`.
namespace GroupRecord {
constexpr std::uint32_t translation = 0; ///< 3 floats
constexpr std::uint32_t rotation = 12;   ///< 4 floats
constexpr std::uint32_t scale = 28;      ///< 3 floats
constexpr std::uint32_t rootFlag = 40;   ///< 1 byte
constexpr std::uint32_t size = 41;
} // namespace GroupRecord

/// A material in "Resources", a sized record.
namespace MaterialRecord {
constexpr std::uint32_t recordSize = 0;    ///< 4 bytes, `size`
constexpr std::uint32_t version = 4;       ///< string of 3 bytes
constexpr std::uint32_t diffuseColor = 11; ///< 4 floats, like all colours
constexpr std::uint32_t specularColor = 27;
constexpr std::uint32_t emissiveColor = 43;
constexpr std::uint32_t ambientColor = 59;
constexpr std::uint32_t transparency = 75; ///< float
constexpr std::uint32_t shininess = 79;    ///< float
constexpr std::uint32_t materialFlag = 83; ///< 1 byte
constexpr std::uint32_t size = 84;
} // namespace MaterialRecord

} // namespace TyrMek
