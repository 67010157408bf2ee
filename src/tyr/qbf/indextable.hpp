/// @file
/// Index tables: the entries of consecutive blocks, and the chain of all tables of a file.
///
///     offset  width        content
///     0       4            count of entries
///     4       139 x count  entries, by block number
///
/// The first table describes blocks 0 to 19. Block 19 is an index block: its content is the table
/// of the next 200 blocks, 20 to 219. The last of these, block 219, is the next index block if the
/// file has more blocks, and so on. A table that is not full lists free block numbers, so all sizes
/// are fixed and blocks can be written before the tables.
#pragma once

#include "tyr/qbf/block.hpp"
#include "tyr/qbf/indexentry.hpp"

#include <cstdint>

namespace TyrQbf {

constexpr std::uint64_t firstTableEntries = 20;
constexpr std::uint64_t indexBlockEntries = 200;

/// Bytes of a table with `count` entries.
constexpr std::uint64_t TableSize(std::uint64_t count) {
    return sizeof(std::uint32_t) + count * entrySize;
}

/// Whether the number is that of an index block if it is in use: 19, 219, 419 and so on.
constexpr bool IsIndexBlockNumber(std::uint64_t number) {
    return number % indexBlockEntries == firstTableEntries - 1;
}

/// Appends the table of the entries from `first` up to, but not including, `last`. Raises the
/// errors of `Block::Put`.
void EncodeTable(Block& block, const IndexEntry* first, const IndexEntry* last);

} // namespace TyrQbf
