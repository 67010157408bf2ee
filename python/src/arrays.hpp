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

/// The type of the elements in the file. `_plain.ElementType` has the same values.
enum class ElementType {
    Float = 0,
    Unsigned = 1,
    UnsignedOrFloat =
        2, ///< unsigned if the elements are integers from 0 to 2^32 - 1, otherwise float
};

/// Whether a conversion to `float` can change a value.
enum class Rounding { Allowed, Refused };

/// Position of a value that is refused.
struct RefusedValue {
    std::size_t row;
    std::size_t column;
};

/// Copies and converts the elements into a library array. Does not need the GIL.
///
/// Numbers are rounded to the nearest `float`; NaN and infinities are kept. As unsigned integers
/// only whole numbers from 0 to 2^32 - 1 are accepted.
///
/// @throws RefusedValue the first finite value that would become infinite, that is not exact in
///     `float` if rounding is refused, or that is not a whole number in range
LibraryArray toLibraryArray(const ArrayView& view, ElementType type, Rounding rounding);

} // namespace MekPython
