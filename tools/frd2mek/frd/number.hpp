/// @file
/// Reads numbers the way that Fortran and C programs write them, whatever the locale.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace Frd {

/// A whole number; nothing if the text is anything else. Blanks around it are passed over.
std::optional<std::int64_t> parseInteger(std::string_view text);

/// The nearest number of 32 or 64 bits; nothing if the text is no number.
///
/// Takes exponents after E or D or after their sign alone ("1.00000-100"), and "NaN", "Inf" and
/// "Infinity" in any case and with any sign. A NaN is always the quiet one. What is beyond the
/// type becomes infinite or zero, with its sign. Blanks around the number are passed over.
std::optional<float> parseFloat(std::string_view text);
std::optional<double> parseDouble(std::string_view text);

} // namespace Frd
