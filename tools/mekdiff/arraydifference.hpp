/// @file
/// The comparison of two arrays.
#pragma once

#include "mekreader/variables.hpp"

#include <cstdint>

namespace MekDiff {

/// How much two floating-point values may differ.
struct Tolerance {
    double absolute = 0;
    double relative = 0; ///< of the larger magnitude

    /// Equal infinities and two NaN are equal, with any tolerance.
    bool isEqual(double left, double right) const;
};

/// How two arrays of the same shape differ.
struct ArrayDifference {
    std::uint64_t count = 0;    ///< of values that differ
    double largest = 0;         ///< infinite if one of two values is NaN or infinite
    std::uint64_t position = 0; ///< of the values that differ most; the first of several
    double left = 0;            ///< the values there
    double right = 0;
};

/// Compares the values one by one. Values that are not floating-point numbers have no tolerance.
/// @pre both arrays have the same number of values and the same element type
ArrayDifference differenceOf(const MekReader::Values& left, const MekReader::Values& right,
                             const Tolerance& tolerance);

} // namespace MekDiff
