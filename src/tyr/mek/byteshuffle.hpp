/// @file
/// The byte-plane transform (shuffle) that makes arrays compress well.
#pragma once

#include <cstdint>

namespace TyrMek {

/// Lays out `count` items of `width` 4-byte values for compression: component after component, and
/// of each component first the lowest byte of all its values, then the second, the third, and the
/// highest.
///
/// @param values item by item, count x width values of a 4-byte type
/// @param target receives 4 x count x width bytes; must not overlap `values`
void ShuffleBytes(const void* values, std::uint64_t count, std::uint8_t width,
                  unsigned char* target) noexcept;

} // namespace TyrMek
