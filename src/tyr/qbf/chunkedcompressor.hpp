/// @file
/// Compression of one block by several threads.
#pragma once

#include "tyr/qbf/parallelfor.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>

namespace TyrQbf {

/// Compresses a sequence of bytes to one zlib stream (RFC 1950), in chunks that threads compress
/// independently.
///
/// Each chunk of 128 KiB becomes a part of one deflate stream (RFC 1951). Its dictionary is the
/// 32 KiB before it, which a reader has decompressed by then. All parts but the last end at a byte
/// boundary with an empty stored block, as by `Z_SYNC_FLUSH`. So the bytes depend on content and
/// level only, not on the number of threads. This always uses zlib: libdeflate has neither
/// dictionaries nor parts of streams.
class ChunkedCompressor {
public:
    /// Receives the stream in pieces, in order, on the calling thread.
    using Sink = std::function<void(const unsigned char* bytes, std::size_t count)>;

    /// @param compressionLevel 1 to 9, as in zlib
    ChunkedCompressor(ParallelFor tasks, std::int32_t compressionLevel);

    /// Memory use is that of 64 compressed chunks, and of a compressor for each running task.
    /// @throws MemoryAllocationException
    /// @throws MiscelleneousException "Unable to compress block", "Not all tasks were run"
    void operator()(const unsigned char* content, std::uint32_t length, const Sink& sink) const;

    /// For other work of the same write cycle.
    const ParallelFor& Tasks() const { return parallelFor; }

private:
    ParallelFor parallelFor;
    std::int32_t level;
};

} // namespace TyrQbf
