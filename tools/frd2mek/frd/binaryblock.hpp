/// @file
/// Reads the records of a binary block: little-endian numbers without padding and line ends.
#pragma once

#include "frd/inputreader.hpp"
#include "frd/record.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Frd {

/// The number at an offset in a record.
/// @{
std::int32_t int32At(std::string_view record, std::size_t offset);
/// Every NaN becomes the positive quiet NaN.
float float32At(std::string_view record, std::size_t offset);
/// A `double`, rounded to the nearest `float`; outside its range infinity or zero.
float float64At(std::string_view record, std::size_t offset);
/// @}

/// A block has no end mark. It ends where the next text record starts: the counts of the heads are
/// too small for composite shells and too large in flow analyses.
///
/// An invalid number raises `FormatError`, a missing byte `EndOfFile`.
class BinaryBlock {
public:
    /// @param input is at the first record; must outlive the block
    /// @param head the number of the last text line, and the count in the head
    BinaryBlock(InputReader& input, const BlockHead& head) : input_(input), head_(head) {}

    /// @return true if a text record follows, or if the file ends and the count is reached
    bool isAtEnd();

    /// The first bytes of the next record. Valid until the next call.
    std::string_view peek(std::size_t size);

    /// Reads the next record. Valid until the next call.
    std::string_view take(std::size_t size);

    /// Raises `FormatError` about the record that was read last.
    [[noreturn]] void failExpecting(const std::string& what, std::int64_t found) const;

    /// The number of a node or element in the record that was read last.
    std::uint32_t id(std::string_view record, std::size_t offset, const char* what) const;

private:
    InputReader& input_;
    BlockHead head_;
    std::int64_t records_ = 0; ///< read so far
};

} // namespace Frd
