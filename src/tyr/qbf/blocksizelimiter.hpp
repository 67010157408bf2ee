/// @file
/// Which blocks bear one name, and how large they may grow.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace TyrQbf {

/// How far work on the blocks of one name has come, so that it is never done twice. Every count is
/// one of leading elements of `blockNumbers`.
struct BlockProgress {
    std::size_t summedBlocks = 0;   ///< blocks whose content is in `summedLength`
    std::uint64_t summedLength = 0; ///< bytes of content before transformation
    std::size_t frozenBlocks = 0;   ///< blocks that have gone to the file
};

/// The blocks of one name, in the order in which they were taken.
struct BlockSizeLimiter {
    /// The limit is a valid value of the environment, else 200 MiB.
    BlockSizeLimiter();
    explicit BlockSizeLimiter(std::uint32_t sizeLimit);

    std::vector<std::uint64_t> blockNumbers;
    std::uint32_t limit; ///< a block whose length has reached it takes no further `Put`

    BlockProgress progress;
};

} // namespace TyrQbf
