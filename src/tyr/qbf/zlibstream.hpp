/// @file
/// Compression of a whole buffer to one zlib stream (RFC 1950).
///
/// The build option MEKAPI2_DEFLATE selects the library that compresses. The streams of both are
/// valid for every reader of zlib streams.
#pragma once

#include <cstddef>
#include <cstdint>

namespace TyrQbf {

/// The maximum size of the zlib stream of `length` bytes.
std::uint64_t ZlibStreamBound(std::uint32_t length);

/// Compresses `length` bytes into one zlib stream.
/// @param target has room for `capacity` bytes, at least `ZlibStreamBound(length)`
/// @param level 0 (stored) to 9 (smallest)
/// @return bytes of the stream
/// @throws MemoryAllocationException
/// @throws MiscelleneousException "Unable to compress block": invalid level, or not enough room
std::uint64_t ToZlibStream(const unsigned char* source, std::uint32_t length, unsigned char* target,
                           std::uint64_t capacity, std::int32_t level);

/// CRC-32 of a sequence of bytes, as in RFC 1952.
/// @param before the CRC-32 of the bytes before these, 0 at the start
std::uint32_t Crc32(std::uint32_t before, const unsigned char* bytes, std::size_t size);

} // namespace TyrQbf
