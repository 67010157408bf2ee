/// @file
/// The blocks of one name, and how large they may grow.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace TyrQbf {

/// Work already done on the blocks of one name, so that it is never done twice. `summedBlocks` and
/// `frozenBlocks` count leading elements of `blockNumbers`.
struct BlockProgress {
    std::size_t summedBlocks = 0;   ///< blocks that `summedLength` includes; never the last one
    std::uint64_t summedLength = 0; ///< bytes of content before transformation
    std::size_t frozenBlocks = 0;   ///< blocks that are frozen
};

/// The block numbers of one name and its size limit.
struct BlockSizeLimiter {
    /// The limit is the value of the environment variable if valid, otherwise 200 MiB.
    BlockSizeLimiter();
    explicit BlockSizeLimiter(std::uint32_t sizeLimit);

    std::vector<std::uint64_t> blockNumbers; ///< in the order in which they were taken
    std::uint32_t limit; ///< a block whose length has reached it takes no further `Put`

    BlockProgress progress;
};

} // namespace TyrQbf
