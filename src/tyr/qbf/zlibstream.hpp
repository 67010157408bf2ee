/// @file
/// Whole buffers into zlib streams (RFC 1950): the one function that compresses.
///
/// Which library does the work is chosen with the build option MEKAPI2_DEFLATE. Every reader of
/// zlib streams reads what either of them writes.
#pragma once

#include <cstdint>

namespace TyrQbf {

/// The most bytes that the zlib stream of `length` bytes can take.
std::uint64_t ZlibStreamBound(std::uint32_t length);

/// Compresses `length` bytes into one zlib stream.
/// @param target has room for `capacity` bytes, at least `ZlibStreamBound(length)`
/// @param level 0 (stored) to 9 (smallest)
/// @return bytes of the stream
/// @throws MemoryAllocationException
/// @throws MiscelleneousException "Unable to compress block": no such level, or no room
std::uint64_t ToZlibStream(const unsigned char* source, std::uint32_t length, unsigned char* target,
                           std::uint64_t capacity, std::int32_t level);

} // namespace TyrQbf
