#include "arrays.hpp"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

namespace MekPython {

namespace {

using Tyr::Mek2::Array1d;
using Tyr::Mek2::Array2d;

template <class T>
T load(const std::byte* address) {
    T value; // copied as bytes, because NumPy arrays can be unaligned
    std::memcpy(&value, address, sizeof value);
    return value;
}

/// Whether `value` is in the range of `Integer`. The limits are powers of two, exact in `Float`.
template <class Integer, class Float>
bool isInRange(Float value) {
    const Float end = std::ldexp(Float(1), std::numeric_limits<Integer>::digits);
    const Float begin = std::is_signed_v<Integer> ? -end : Float(0);
    return value >= begin && value < end;
}

template <class From>
bool holdsExactly(float converted, From value) {
    if constexpr (std::is_floating_point_v<From>) {
        return static_cast<From>(converted) == value || std::isnan(value);
    } else {
        return isInRange<From>(converted) && static_cast<From>(converted) == value;
    }
}

/// @return whether the conversion is exact; if not, `converted` is unspecified
template <class From>
bool convert(From value, unsigned int& converted) {
    if constexpr (std::is_floating_point_v<From>) {
        if (!isInRange<unsigned int>(value) || std::signbit(value)) {
            return false;
        }
        converted = static_cast<unsigned int>(value);
        return static_cast<From>(converted) == value;
    } else {
        converted = static_cast<unsigned int>(value);
        if constexpr (std::is_signed_v<From>) {
            return value >= 0 && static_cast<std::make_unsigned_t<From>>(value) == converted;
        } else {
            return value == converted;
        }
    }
}

/// Rounds to the nearest value. @return whether that is exact
template <class From>
bool convert(From value, float& converted) {
    converted = static_cast<float>(value);
    return holdsExactly(converted, value);
}

bool isContiguous(const ArrayView& view) {
    const auto size = static_cast<std::ptrdiff_t>(view.itemSize);
    return (view.columns == 1 || view.columnStride == size) &&
           view.rowStride == size * static_cast<std::ptrdiff_t>(view.columns);
}

/// @param stopAtLoss stop at the first inexact value; otherwise round
/// @return the position of the value at which the copy stopped
template <class From, class To>
std::optional<InexactValue> copyElements(const ArrayView& view, To* target, bool stopAtLoss) {
    for (std::size_t row = 0; row < view.rows; ++row) {
        const std::byte* source = view.data + static_cast<std::ptrdiff_t>(row) * view.rowStride;
        for (std::size_t column = 0; column < view.columns; ++column) {
            const bool isExact = convert(load<From>(source), *target);
            if (!isExact && stopAtLoss) {
                return InexactValue{row, column};
            }
            source += view.columnStride;
            ++target;
        }
    }
    return std::nullopt;
}

template <class T>
T* firstElement(Array1d<T>& array) {
    return &array[0];
}

template <class T>
T* firstElement(Array2d<T>& array) {
    return &array(0, 0);
}

template <class From, class Array>
std::optional<InexactValue> fill(Array& array, const ArrayView& view, bool stopAtLoss) {
    if (array.size() == 0) {
        return std::nullopt;
    }
    auto* const first = firstElement(array);
    const bool isSameType = std::is_same_v<From*, decltype(firstElement(array))>;
    if (isSameType && isContiguous(view)) {
        std::memcpy(first, view.data, array.size() * sizeof *first);
        return std::nullopt;
    }
    return copyElements<From>(view, first, stopAtLoss);
}

template <class To, class From>
std::optional<InexactValue> tryFill(LibraryArray& result, const ArrayView& view, bool stopAtLoss) {
    if (view.isColumn) {
        return fill<From>(result.emplace<Array1d<To>>(view.rows), view, stopAtLoss);
    }
    return fill<From>(result.emplace<Array2d<To>>(view.rows, view.columns), view, stopAtLoss);
}

template <class From>
LibraryArray toArray(const ArrayView& view, bool lossy) {
    using Preferred = std::conditional_t<std::is_floating_point_v<From>, float, unsigned int>;
    using Alternative = std::conditional_t<std::is_floating_point_v<From>, unsigned int, float>;
    LibraryArray result; // one object for all returns, so that the array is not copied
    const std::optional<InexactValue> inexact = tryFill<Preferred, From>(result, view, true);
    if (!inexact || !tryFill<Alternative, From>(result, view, true)) {
        return result;
    }
    if (!lossy) {
        throw *inexact;
    }
    tryFill<float, From>(result, view, false);
    return result;
}

LibraryArray readFloats(const ArrayView& view, bool lossy) {
    switch (view.itemSize) {
        case sizeof(float):
            return toArray<float>(view, lossy);
        case sizeof(double):
            return toArray<double>(view, lossy);
        default:
            return toArray<long double>(view, lossy);
    }
}

LibraryArray readSigned(const ArrayView& view, bool lossy) {
    switch (view.itemSize) {
        case 1:
            return toArray<std::int8_t>(view, lossy);
        case 2:
            return toArray<std::int16_t>(view, lossy);
        case 4:
            return toArray<std::int32_t>(view, lossy);
        default:
            return toArray<std::int64_t>(view, lossy);
    }
}

/// Includes `bool`, which NumPy stores as one byte, 0 or 1.
LibraryArray readUnsigned(const ArrayView& view, bool lossy) {
    switch (view.itemSize) {
        case 1:
            return toArray<std::uint8_t>(view, lossy);
        case 2:
            return toArray<std::uint16_t>(view, lossy);
        case 4:
            return toArray<std::uint32_t>(view, lossy);
        default:
            return toArray<std::uint64_t>(view, lossy);
    }
}

bool isReadable(char kind, std::size_t itemSize) {
    const bool isFloat =
        itemSize == sizeof(float) || itemSize == sizeof(double) || itemSize == sizeof(long double);
    return kind == 'b' || kind == 'i' || kind == 'u' || (kind == 'f' && isFloat);
}

} // namespace

std::optional<ArrayView> viewOf(const pybind11::array& array) {
    const pybind11::dtype type = array.dtype();
    const auto itemSize = static_cast<std::size_t>(type.itemsize());
    const bool isForeign = !type.attr("isnative").cast<bool>();
    if ((array.ndim() != 1 && array.ndim() != 2) || isForeign ||
        !isReadable(type.kind(), itemSize)) {
        return std::nullopt;
    }
    const bool isColumn = array.ndim() == 1;
    return ArrayView{static_cast<const std::byte*>(array.data()),
                     static_cast<std::size_t>(array.shape(0)),
                     isColumn ? 1 : static_cast<std::size_t>(array.shape(1)),
                     array.strides(0),
                     isColumn ? 0 : array.strides(1),
                     isColumn,
                     type.kind(),
                     itemSize};
}

LibraryArray toLibraryArray(const ArrayView& view, bool lossy) {
    switch (view.kind) {
        case 'f':
            return readFloats(view, lossy);
        case 'i':
            return readSigned(view, lossy);
        default:
            return readUnsigned(view, lossy);
    }
}

} // namespace MekPython
