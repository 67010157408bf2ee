/// @file
/// Compression of one block by several threads.
#pragma once

#include "tyr/qbf/deflatepiece.hpp"
#include "tyr/qbf/parallelfor.hpp"

#include <cstdint>

namespace TyrQbf {

/// Compresses a sequence of bytes to one zlib stream (RFC 1950), in chunks that threads compress
/// independently.
///
/// Each chunk of 128 KiB becomes a piece. Its dictionary is the 32 KiB before it, which a reader
/// has decompressed by then. So the bytes depend on content and level only, not on the number of
/// threads.
class ChunkedCompressor {
public:
    /// @param compressionLevel 1 to 9, as in zlib
    ChunkedCompressor(ParallelFor tasks, std::int32_t compressionLevel);

    /// While tasks compress 128 chunks, another task passes the previous 128 to `sink`. Memory use
    /// is that of 256 compressed chunks, and of a compressor for each running task.
    /// @param sink is called on any thread; calls do not overlap
    /// @throws MemoryAllocationException
    /// @throws MiscelleneousException "Unable to compress block", "Not all tasks were run"
    void operator()(const unsigned char* content, std::uint32_t length, const Sink& sink) const;

private:
    ParallelFor parallelFor;
    std::int32_t level;
};

} // namespace TyrQbf
