/// @file
/// The environment variable that sets growth step and size limit of blocks.
#pragma once

#include <cstdint>
#include <optional>

namespace TyrQbf {

/// Value of MEKWRITER_DEFAULT_BLOCK_SIZE as `strtoul` would read it into 32 bits, 0 without digits.
/// Nothing if the variable is absent or its value is not below 0xFFFFFFFF.
std::optional<std::uint32_t> BlockSizeFromEnvironment();

} // namespace TyrQbf
