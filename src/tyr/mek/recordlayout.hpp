/// @file
/// Offsets of the fields in the records of nodes, in bytes from the start of each record.
///
/// Strings (32-bit length, bytes) have no fixed length. What follows one has no fixed offset.
/// The functions that put a record check these offsets with `AreFields`.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace TyrMek {

/// Whether fields of these types, one after the other, begin at these offsets. The last offset is
/// the end of the last field.
template <class... Fields>
constexpr bool AreFields(const std::array<std::uint32_t, sizeof...(Fields) + 1>& offsets) {
    const std::array<std::size_t, sizeof...(Fields)> sizes{sizeof(Fields)...};
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        if (offsets[i + 1] - offsets[i] != sizes[i]) {
            return false;
        }
    }
    return true;
}

/// A node in "Mek Tree". Type and version (strings) and the offset in "Light Data" (8 bytes) follow
/// the name.
namespace NodeRecord {
constexpr std::uint32_t id = 0;
constexpr std::uint32_t parentId = 4;
constexpr std::uint32_t previousSiblingId = 8;
constexpr std::uint32_t nextSiblingId = 12;
constexpr std::uint32_t firstChildId = 16;
constexpr std::uint32_t lastChildId = 20;
constexpr std::uint32_t name = 24; ///< string
inline constexpr std::array untilName{
    id, parentId, previousSiblingId, nextSiblingId, firstChildId, lastChildId, name};
} // namespace NodeRecord

/// A variable in "Light Data" that describes a dataset, from the end of its name, a string.
namespace OwnerRecord {
constexpr std::uint32_t typeWord = 0;     ///< 4 bytes, element type << 24 | variable type
constexpr std::uint32_t linked = 4;       ///< 1 byte, 0
constexpr std::uint32_t byteSize = 5;     ///< 4 bytes
constexpr std::uint32_t width = 9;        ///< 1 byte
constexpr std::uint32_t firstOption = 10; ///< 1 byte
constexpr std::uint32_t secondOption = 11;
constexpr std::uint32_t firstValue = 12; ///< 4 bytes
constexpr std::uint32_t secondValue = 16;
constexpr std::uint32_t thirdOption = 20; ///< 1 byte
constexpr std::uint32_t offset = 21;      ///< 8 bytes, in "Heavy Data"
constexpr std::uint32_t vibration = 29;   ///< 1 byte
constexpr std::uint32_t size = 30;
inline constexpr std::array untilOffset{typeWord,    linked,       byteSize,   width,
                                        firstOption, secondOption, firstValue, secondValue,
                                        thirdOption, offset};
inline constexpr std::array fromOffset{offset, vibration, size};
} // namespace OwnerRecord

/// A variable in "Light Data" that is a link, from the end of its name, a string.
namespace LinkRecord {
constexpr std::uint32_t typeWord = 0;      ///< as in `OwnerRecord`
constexpr std::uint32_t linked = 4;        ///< 1 byte, 1
constexpr std::uint32_t nodeId = 5;        ///< 4 bytes
constexpr std::uint32_t variableIndex = 9; ///< 4 bytes
constexpr std::uint32_t vibration = 13;    ///< 1 byte
constexpr std::uint32_t size = 14;
inline constexpr std::array all{typeWord, linked, nodeId, variableIndex, vibration, size};
} // namespace LinkRecord

/// A group in "Light Data"; its attributes are put before `rootFlag`.
namespace GroupRecord {
constexpr std::uint32_t translation = 0; ///< 3 floats
constexpr std::uint32_t rotation = 12;   ///< 4 floats
constexpr std::uint32_t scale = 28;      ///< 3 floats
constexpr std::uint32_t rootFlag = 40;   ///< 1 byte
constexpr std::uint32_t size = 41;
inline constexpr std::array all{translation, rotation, scale, rootFlag, size};
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
