/// @file
/// Functions for the records of all blocks.
#pragma once

#include "frd/linereader.hpp"
#include "frd/mesh.hpp"

#include <cstddef>
#include <cstdint>

namespace Frd {

constexpr std::size_t keyWidth = 3;       // of ' -1', ' -2', ' -3'
constexpr std::size_t headerKeyWidth = 6; // of '    1C', '    2C', '  100C'
constexpr std::size_t valueWidth = 12;    // E12.5

/// The differences between the two text formats.
struct Format {
    std::size_t idWidth = 10;
    std::size_t nodesPerLine = 10; ///< of an element

    Columns idColumns() const { return {keyWidth, idWidth}; }

    /// The columns of value i after the id.
    Columns valueColumns(std::size_t i) const {
        return {keyWidth + idWidth + i * valueWidth, valueWidth};
    }
};

/// The format from the header of a block; `code` are the columns of the format code.
/// @throws FormatError the code is invalid or that of a binary format
Format formatOf(const Line& header, Columns code);

/// Reads the next line, which must start with `key`.
/// @throws FormatError it does not, or the file ends; `what` was expected
Line requireRecord(LineReader& lines, const char* key, const char* what);

/// Reads the next line of a block into `line`.
/// @return true for a record -1, false for the -3 that ends the block
/// @throws FormatError it is neither; `what` was expected
bool nextInBlock(LineReader& lines, Line& line, const char* what);

/// The row of the node whose number is in these columns.
/// @param guess the row to try first
/// @throws FormatError the node block does not define the node
std::uint32_t definedNode(const Line& line, Columns columns, const NodeTable& nodes,
                          std::size_t guess);

} // namespace Frd
