/// @file
/// The record of one block in an index table.
///
///     offset  width  content (139 bytes)
///     0       1      id
///     1       4      width of the name field, 128
///     5       128    name, cut at its first NUL and after 128 bytes, padded with NUL
///     133     4      stored length
///     137     1      flags
///     138     1      reserved, 0
#pragma once

#include "tyr/qbf/block.hpp"

#include <cstdint>
#include <string>

namespace TyrQbf {

constexpr std::uint8_t FlagCompress = 0x01; ///< compressed when it is written
constexpr std::uint8_t FlagFreeze = 0x20;   ///< may be written early and is frozen when written

extern const std::string EmptyBlockName; ///< name of a free block number
extern const std::string IndexBlockName; ///< name of a block that holds an index table

/// Whether `name` starts with `EmptyBlockName`.
bool IsEmptyBlock(const std::string& name);

/// Whether `name` starts with `IndexBlockName`.
bool IsIndexBlock(const std::string& name);

/// The entry of one block number.
struct IndexEntry {
    std::uint8_t id = 0;
    std::string name{};
    std::uint64_t position = 0;     ///< in the file; 0 until computed; not stored
    std::uint32_t storedLength = 0; ///< in the file, after transformation; 0 until computed
    std::uint8_t flags = 0;
    std::uint8_t reserved = 0;
    bool frozen = false;         ///< in the file, takes no more data; not stored
    bool indexReset = false;     ///< content of an index block was cleared for its final table
    std::uint32_t rawLength = 0; ///< content before transformation, recorded when written
};

constexpr std::uint32_t nameFieldSize = 128;
constexpr std::uint32_t entrySize = 1 + 4 + nameFieldSize + 4 + 1 + 1;

/// Appends the 139 bytes of an entry. Raises the errors of `Block::Put`.
void EncodeEntry(Block& block, const IndexEntry& entry);

} // namespace TyrQbf
