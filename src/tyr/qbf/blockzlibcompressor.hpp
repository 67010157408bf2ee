/// @file
/// The compressed form of a block.
///
///     offset  width              content
///     0       4                  length of the content before compression
///     4       stored length - 4  one zlib stream (RFC 1950) of the whole content
#pragma once

#include "tyr/qbf/blocktransformation.hpp"

#include <cstdint>

namespace TyrQbf {

/// Replaces the content of a block by its compressed form, even if that is longer.
///
/// The capacity is that of an empty block after a `Put` of the length and one of the stream. If an
/// error occurs, the block does not change.
class BlockZlibCompressor : public BlockTransformation {
public:
    /// @param compressionLevel 0 to 9, as in zlib
    explicit BlockZlibCompressor(std::int32_t compressionLevel);

    /// @throws MemoryAllocationException no memory for the output or the compression
    /// @throws OverflowError the compressed form does not fit a 32-bit stored length
    /// @throws MiscelleneousException "Unable to compress block"
    void operator()(Block& block) override;

private:
    std::int32_t level;
};

} // namespace TyrQbf
