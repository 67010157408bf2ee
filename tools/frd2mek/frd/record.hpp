/// @file
/// What the records of all blocks have in common.
#pragma once

#include "frd/linereader.hpp"
#include "frd/mesh.hpp"

#include <cstddef>
#include <cstdint>

namespace Frd {

constexpr std::size_t keyWidth = 3;     // of ' -1' and its like
constexpr std::size_t headKeyWidth = 6; // of '    1C' and its like
constexpr std::size_t valueWidth = 12;  // E12.5

/// What the two text formats differ in.
struct Format {
    std::size_t idWidth = 10;
    std::size_t nodesPerLine = 10; ///< of an element

    Columns idColumns() const { return {keyWidth, idWidth}; }

    /// Column i of those that stand behind the id.
    Columns valueColumns(std::size_t i) const {
        return {keyWidth + idWidth + i * valueWidth, valueWidth};
    }
};

/// The format that the head of a block tells in the columns `code`.
/// @throws FormatError for a binary one, too
Format formatOf(const Line& head, Columns code);

/// Takes the next line, which must start with `key`.
/// @throws FormatError it does not, or there is none; `what` was expected
Line requireRecord(LineReader& lines, const char* key, const char* what);

/// Takes the next line of a block into `line`.
/// @return whether it is a record -1; else it is the -3 that ends the block
/// @throws FormatError it is neither; `what` was expected
bool nextInBlock(LineReader& lines, Line& line, const char* what);

/// The row of the node whose number stands in these columns.
/// @param guess a row to look at first
/// @throws FormatError there is no such node
std::uint32_t definedNode(const Line& line, Columns columns, const NodeTable& nodes,
                          std::size_t guess);

} // namespace Frd
