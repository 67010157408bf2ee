/// @file
/// Functions for the records of all blocks.
#pragma once

#include "frd/inputreader.hpp"

#include <cstddef>
#include <cstdint>

namespace Frd {

constexpr std::size_t keyWidth = 3;       // of ' -1', ' -2', ' -3'
constexpr std::size_t headerKeyWidth = 6; // of '    1C', '    2C', '  100C'
constexpr std::size_t valueWidth = 12;    // E12.5

/// The form of the records of a block.
struct Format {
    bool isBinary = false;
    std::size_t idWidth = 10;      ///< of text, like the next
    std::size_t nodesPerLine = 10; ///< of an element

    Columns idColumns() const { return {keyWidth, idWidth}; }

    /// The columns of value i after the id.
    Columns valueColumns(std::size_t i) const {
        return {keyWidth + idWidth + i * valueWidth, valueWidth};
    }
};

/// What the head of a block says about its records.
struct BlockHead {
    std::uint64_t line = 0;  ///< number of the last text line before the records
    std::int64_t count = -1; ///< of the records; negative if it is not given
    Format format{};
};

/// @param header the line 2C, 3C or 100C
/// @param code the columns of the format code: 0 short text, 1 long text
/// @param binaryCode the code of the binary form
/// @throws FormatError the code is invalid
BlockHead blockHeadOf(const Line& header, Columns code, std::int64_t binaryCode);

/// Reads the next line, which must start with `key`.
/// @throws FormatError it does not, or the file ends; `what` was expected
Line requireRecord(InputReader& input, const char* key, const char* what);

/// Reads the next line of a text block into `line`.
/// @return true for a record -1, false for the -3 that ends the block
/// @throws FormatError it is neither; `what` was expected
bool nextInBlock(InputReader& input, Line& line, const char* what);

} // namespace Frd
