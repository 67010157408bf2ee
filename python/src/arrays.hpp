/// @file
/// Converts NumPy arrays to arrays of the library.
#pragma once

#include <tyr/mek2/array.hpp>

#include <pybind11/numpy.h>

#include <cstddef>
#include <optional>
#include <variant>

namespace MekPython {

using LibraryArray = std::variant<Tyr::Mek2::Array1d<float>, Tyr::Mek2::Array1d<unsigned int>,
                                  Tyr::Mek2::Array2d<float>, Tyr::Mek2::Array2d<unsigned int>>;

/// The memory of a NumPy array of one or two dimensions, with any memory order and strides.
struct ArrayView {
    const std::byte* data;
    std::size_t rows;
    std::size_t columns;         ///< 1 for an array of one dimension
    std::ptrdiff_t rowStride;    ///< in bytes
    std::ptrdiff_t columnStride; ///< in bytes
    bool isColumn;               ///< the array has one dimension
    char kind;                   ///< NumPy's `dtype.kind`: 'b', 'i', 'u' or 'f'
    std::size_t itemSize;
};

/// @return no value unless the array has one or two dimensions and holds numbers in the byte order
///     of this machine
std::optional<ArrayView> viewOf(const pybind11::array& array);

/// Position of a value that neither `float` nor `unsigned int` holds exactly.
struct InexactValue {
    std::size_t row;
    std::size_t column;
};

/// Copies and converts the elements into a library array. Does not need the GIL.
///
/// Floating-point numbers are converted to `float`, integers and booleans to `unsigned int`, if
/// that keeps every value exactly, NaN and infinities included. If not, the other type is tried.
///
/// @param lossy round to the nearest `float` if neither type keeps every value
/// @throws InexactValue the first value that the first type does not keep, if `lossy` is false
LibraryArray toLibraryArray(const ArrayView& view, bool lossy);

} // namespace MekPython
