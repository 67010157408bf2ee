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

/// @return false if the value is not a whole number in range; `converted` is unspecified then
template <class From>
bool convert(From value, unsigned int& converted, Rounding) {
    if constexpr (std::is_floating_point_v<From>) {
        if (!isInRange<unsigned int>(value)) {
            return false;
        }
        converted = static_cast<unsigned int>(value);
        return static_cast<From>(converted) == value;
    } else {
        if constexpr (std::is_signed_v<From>) {
            if (value < 0) {
                return false;
            }
        }
        const auto whole = static_cast<std::make_unsigned_t<From>>(value);
        converted = static_cast<unsigned int>(whole);
        return whole == converted;
    }
}

/// Rounds to the nearest value.
/// @return false if a finite value becomes infinite, or the value changes and must not
template <class From>
bool convert(From value, float& converted, Rounding rounding) {
    converted = static_cast<float>(value);
    if (rounding == Rounding::Refused) {
        return holdsExactly(converted, value);
    }
    if constexpr (std::is_floating_point_v<From>) {
        return std::isfinite(converted) || !std::isfinite(value);
    } else {
        return true;
    }
}

bool isContiguous(const ArrayView& view) {
    const auto size = static_cast<std::ptrdiff_t>(view.itemSize);
    return (view.columns == 1 || view.columnStride == size) &&
           view.rowStride == size * static_cast<std::ptrdiff_t>(view.columns);
}

/// @return the position of the first value that is refused; the copy ends there
template <class From, class To>
std::optional<RefusedValue> copyElements(const ArrayView& view, To* target, Rounding rounding) {
    for (std::size_t row = 0; row < view.rows; ++row) {
        const std::byte* source = view.data + static_cast<std::ptrdiff_t>(row) * view.rowStride;
        for (std::size_t column = 0; column < view.columns; ++column) {
            if (!convert(load<From>(source), *target, rounding)) {
                return RefusedValue{row, column};
            }
            source += view.columnStride;
            ++target;
        }
    }
    return std::nullopt;
}

template <class From, class Array>
std::optional<RefusedValue> fill(Array& array, const ArrayView& view, Rounding rounding) {
    if (array.size() == 0) {
        return std::nullopt;
    }
    auto* const first = array.data();
    const bool isSameType = std::is_same_v<From*, decltype(array.data())>;
    if (isSameType && isContiguous(view)) {
        std::memcpy(first, view.data, array.size() * sizeof *first);
        return std::nullopt;
    }
    return copyElements<From>(view, first, rounding);
}

template <class To, class From>
std::optional<RefusedValue> fillWith(LibraryArray& result, const ArrayView& view,
                                     Rounding rounding) {
    if (view.isColumn) {
        return fill<From>(result.emplace<Array1d<To>>(view.rows), view, rounding);
    }
    return fill<From>(result.emplace<Array2d<To>>(view.rows, view.columns), view, rounding);
}

template <class From>
LibraryArray toArray(const ArrayView& view, ElementType type, Rounding rounding) {
    LibraryArray result; // one object for all returns, so that the array is not copied
    const bool isUnsigned = type == ElementType::Unsigned ||
                            (type == ElementType::UnsignedOrFloat && std::is_integral_v<From>);
    std::optional<RefusedValue> refused;
    if (isUnsigned) {
        refused = fillWith<unsigned int, From>(result, view, rounding);
    }
    if (!isUnsigned || (refused && type == ElementType::UnsignedOrFloat)) {
        refused = fillWith<float, From>(result, view, rounding);
    }
    if (refused) {
        throw RefusedValue(*refused);
    }
    return result;
}

LibraryArray readFloats(const ArrayView& view, ElementType type, Rounding rounding) {
    switch (view.itemSize) {
        case sizeof(float):
            return toArray<float>(view, type, rounding);
        case sizeof(double):
            return toArray<double>(view, type, rounding);
        default:
            return toArray<long double>(view, type, rounding);
    }
}

LibraryArray readSigned(const ArrayView& view, ElementType type, Rounding rounding) {
    switch (view.itemSize) {
        case 1:
            return toArray<std::int8_t>(view, type, rounding);
        case 2:
            return toArray<std::int16_t>(view, type, rounding);
        case 4:
            return toArray<std::int32_t>(view, type, rounding);
        default:
            return toArray<std::int64_t>(view, type, rounding);
    }
}

/// Includes `bool`, which NumPy stores as one byte, 0 or 1.
LibraryArray readUnsigned(const ArrayView& view, ElementType type, Rounding rounding) {
    switch (view.itemSize) {
        case 1:
            return toArray<std::uint8_t>(view, type, rounding);
        case 2:
            return toArray<std::uint16_t>(view, type, rounding);
        case 4:
            return toArray<std::uint32_t>(view, type, rounding);
        default:
            return toArray<std::uint64_t>(view, type, rounding);
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

LibraryArray toLibraryArray(const ArrayView& view, ElementType type, Rounding rounding) {
    switch (view.kind) {
        case 'f':
            return readFloats(view, type, rounding);
        case 'i':
            return readSigned(view, type, rounding);
        default:
            return readUnsigned(view, type, rounding);
    }
}

} // namespace MekPython
