/// @file
/// The environment variable that sets growth step and size limit of blocks.
#pragma once

#include <cstdint>
#include <optional>

namespace TyrQbf {

/// Value of MEKWRITER_DEFAULT_BLOCK_SIZE as `strtoul` would read it into 32 bits: nothing if the
/// variable is absent or its number does not lie below 0xFFFFFFFF, 0 if it has no digits.
std::optional<std::uint32_t> blockSizeFromEnvironment();

} // namespace TyrQbf
