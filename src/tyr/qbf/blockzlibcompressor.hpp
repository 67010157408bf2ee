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

/// Replaces a block's content by its compressed form, also where that is longer.
///
/// When it fails the block has its content back untouched.
class BlockZlibCompressor : public BlockTransformation {
public:
    /// @param compressionLevel 0 to 9, as zlib counts them
    explicit BlockZlibCompressor(std::int32_t compressionLevel);

    /// @throws MemoryAllocationException no memory for the output
    /// @throws OverflowError the compressed form does not fit a 32-bit stored length
    /// @throws MiscelleneousException "Unable to compress block"
    void operator()(Block& block) override;

private:
    std::int32_t level;
};

} // namespace TyrQbf
