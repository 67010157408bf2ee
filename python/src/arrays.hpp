/// @file
/// From a NumPy array to the library's own arrays.
#pragma once

#include <tyr/mek2/array.hpp>

#include <pybind11/numpy.h>

#include <cstddef>
#include <optional>
#include <variant>

namespace MekPython {

using LibraryArray = std::variant<Tyr::Mek2::Array1d<float>, Tyr::Mek2::Array1d<unsigned int>,
                                  Tyr::Mek2::Array2d<float>, Tyr::Mek2::Array2d<unsigned int>>;

/// The memory of a NumPy array of one or two dimensions, in any order and with any strides.
struct ArrayView {
    const std::byte* data;
    std::size_t rows;
    std::size_t columns;      ///< 1 for an array of one dimension
    std::ptrdiff_t rowStride; ///< in bytes, as is the next
    std::ptrdiff_t columnStride;
    bool isColumn; ///< the array has one dimension
    char kind;     ///< 'b', 'i', 'u' or 'f', as NumPy calls them
    std::size_t itemSize;
};

/// @return nothing for an array that has other than one or two dimensions, or elements other than
///     numbers of this machine's byte order
std::optional<ArrayView> viewOf(const pybind11::array& array);

/// Where a value stands that neither `float` nor `unsigned int` holds exactly.
struct InexactValue {
    std::size_t row;
    std::size_t column;
};

/// Copies the elements once, straight from where they lie into a library array. Needs no
/// interpreter lock.
///
/// Floating-point numbers become `float` and all others `unsigned int` if every value is kept
/// exactly (NaN and infinities are); failing that, the other of the two is tried.
///
/// @param lossy values that neither type keeps are rounded to the nearest `float`
/// @throws InexactValue the first value that its own type does not hold, if `lossy` is false
LibraryArray toLibraryArray(const ArrayView& view, bool lossy);

} // namespace MekPython
