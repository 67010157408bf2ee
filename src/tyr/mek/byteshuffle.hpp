/// @file
/// The byte shuffle, which makes arrays compress well.
#pragma once

#include "tyr/qbf/parallelfor.hpp"

#include <cstdint>

namespace TyrMek {

/// Shuffles the bytes of `count` rows of `width` 4-byte values. The columns follow each other; of
/// each column come first the lowest bytes of all values, then the second, third and highest bytes.
///
/// @param values row by row, count x width values of a 4-byte type
/// @param target receives 4 x count x width bytes; must not overlap `values`
void ShuffleBytes(const void* values, std::uint64_t count, std::uint8_t width,
                  unsigned char* target) noexcept;

/// The same; large arrays are shuffled in parts by tasks.
/// @throws MiscelleneousException "Not all tasks were run"; exceptions of `parallelFor` pass
///     through; in both cases some bytes may be missing
void ShuffleBytes(const void* values, std::uint64_t count, std::uint8_t width,
                  unsigned char* target, const TyrQbf::ParallelFor& parallelFor);

/// The lowest, second, third or highest bytes of all values of one column: a plane of
/// `ShuffleBytes`.
/// @param plane 0 to 4 x width - 1, in the order of `ShuffleBytes`
/// @param target receives `count` bytes
void ShufflePlane(const void* values, std::uint64_t count, std::uint8_t width, std::uint32_t plane,
                  unsigned char* target) noexcept;

} // namespace TyrMek
