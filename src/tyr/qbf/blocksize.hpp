/// @file
/// The environment variable that sets growth step and size limit of blocks.
#pragma once

#include <cstdint>
#include <optional>

namespace TyrQbf {

/// Value of MEKWRITER_DEFAULT_BLOCK_SIZE as `strtoul` would read it into 32 bits: nothing if the
/// variable is absent or its number does not lie below 0xFFFFFFFF, 0 if it has no digits.
std::optional<std::uint32_t> BlockSizeFromEnvironment();

/// As long as one lives, its thread reads the variable no more than once, where it first needs it.
///
/// For a call of the library that puts many values: the application cannot change its environment
/// meanwhile, and to search it for each value would cost more than to put the value.
class UnchangedEnvironment {
public:
    UnchangedEnvironment();
    UnchangedEnvironment(const UnchangedEnvironment&) = delete;
    UnchangedEnvironment& operator=(const UnchangedEnvironment&) = delete;
    ~UnchangedEnvironment();
};

} // namespace TyrQbf
