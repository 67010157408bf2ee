/// @file
/// Parses numbers as Fortran and C programs write them, whatever the locale.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace Frd {

/// A whole number, or nothing if the field is anything else. Surrounding blanks are ignored.
std::optional<std::int64_t> parseInteger(std::string_view field);

/// The nearest number of 32 or 64 bits, or nothing if the field is not a number.
///
/// Accepts exponents with E, D or only a sign ("1.00000-100"), and "NaN", "Inf" and "Infinity" in
/// any case and with any sign. Every NaN becomes the positive quiet NaN. A number outside the range
/// of the type becomes infinity or zero, with its sign. Surrounding blanks are ignored.
std::optional<float> parseFloat(std::string_view field);
std::optional<double> parseDouble(std::string_view field);

} // namespace Frd
