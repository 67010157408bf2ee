/// @file
/// Arrays, which an application passes to `Model::addArrayProperty`.
///
/// @code
/// #include <tyr/mek2/array.hpp>
///
/// int main() {
///     using namespace Tyr::Mek2;
///     const float corners[] = {0, 0, 0, 1, 0, 0};
///     Array2d<float> coordinates(corners, 2, 3); // two rows of x, y, z
///     coordinates(1, 2) = 0.5F;
///     Array1d<unsigned int> ids{1, 2};
///     for (unsigned int& id : ids) {
///         id += 10;
///     }
///     return coordinates.data()[5] == 0.5F && ids[1] == 12 ? 0 : 1;
/// }
/// @endcode
///
/// An array owns its elements; a copy is a deep copy. A moved-from array is empty and can be used
/// again. Indices are not checked: an index outside the array is undefined behaviour. Each
/// dimension must be below 2^31; `Model::addArrayProperty` refuses larger arrays.
///
/// Constructors, except for moves, and copy assignment allocate. They raise `std::bad_alloc` if
/// there is no memory or the size is too large; the target of the assignment then keeps its
/// elements. No other operation raises an exception.
///
/// Different arrays may be used from different threads at the same time.
#pragma once

#include <tyr/export.hpp>

#include <cstddef>
#include <initializer_list>
#include <type_traits>
#include <vector>

namespace Tyr::Mek2 {

struct ValueAccess;

template <class T>
struct ColumnStorage;
template <class T>
struct TableStorage;

/// True for the element types of arrays: `float` and `unsigned int`.
template <class T>
inline constexpr bool isArrayElement =
    std::disjunction_v<std::is_same<T, float>, std::is_same<T, unsigned int>>;

/// A one-dimensional array of `float` or `unsigned int`.
template <class T>
class Array1d {
    static_assert(isArrayElement<T>, "Array1d takes the element type float or unsigned int");

public:
    /// `n` elements, all zero.
    Array1d(std::size_t n = 0);

    /// `n` elements, all `value`.
    Array1d(std::size_t n, const T& value);

    /// A copy of the range [first, last).
    Array1d(T* first, T* last);

    /// A copy of the `n` elements from `values` on.
    Array1d(const T* values, std::size_t n);

    /// A copy of the values.
    /// @{
    Array1d(const std::vector<T>& values);
    Array1d(const std::initializer_list<T>& values);
    Array1d(const Array1d& other);
    /// @}

    /// Takes the elements of `other`, which is empty afterwards.
    Array1d(Array1d&& other) noexcept;

    /// Count and value of other number types. A literal 0 is a number here, not a null pointer.
    template <class Count, class Value,
              std::enable_if_t<std::is_integral_v<Count> && std::is_arithmetic_v<Value>, int> = 0>
    Array1d(Count n, Value value) : Array1d(static_cast<std::size_t>(n), static_cast<T>(value)) {}

    /// Pointer and count of other types. A literal 0 is a count here, not a null pointer.
    template <class Pointer, class Count,
              std::enable_if_t<
                  std::is_convertible_v<Pointer, const T*> && std::is_integral_v<Count>, int> = 0>
    Array1d(Pointer values, Count n)
        : Array1d(static_cast<const T*>(values), static_cast<std::size_t>(n)) {}

    ~Array1d();

    /// Replaces size and elements by copies of those of `other`.
    const Array1d& operator=(const Array1d& other);

    /// Replaces the elements by those of `other`, which is empty afterwards.
    Array1d& operator=(Array1d&& other) noexcept;

    /// Copies `size()` elements from `source`, which must have that many. The size does not change.
    void copy_from(const T* source);

    /// Number of elements.
    std::size_t size() const;

    /// The elements, contiguous. May be null if the array is empty. Pointers and references to
    /// elements are valid until the array is assigned to, moved from or destroyed.
    /// @{
    T* data();
    const T* data() const;
    T* begin() { return data(); }
    const T* begin() const { return data(); }
    T* end() { return data() + size(); }
    const T* end() const { return data() + size(); }
    /// @}

    /// Element `i`, counted from 0.
    /// @{
    T& operator[](std::size_t i);
    const T& operator[](std::size_t i) const;
    T& operator()(std::size_t i);
    const T& operator()(std::size_t i) const;
    /// @}

private:
    friend struct ValueAccess;
    ColumnStorage<T>* data_; // null in a moved-from array only
};

/// A two-dimensional array of `float` or `unsigned int` in row-major order: the element in row i
/// and column j has the index i x cols() + j in `data()`.
template <class T>
class Array2d {
    static_assert(isArrayElement<T>, "Array2d takes the element type float or unsigned int");

public:
    /// `rows` x `cols` elements, all zero.
    Array2d(std::size_t rows = 0, std::size_t cols = 0);

    /// `rows` x `cols` elements, all `value`.
    Array2d(std::size_t rows, std::size_t cols, const T& value);

    /// Filled row by row from the range [first, last). Excess values are ignored, missing elements
    /// are zero.
    Array2d(std::size_t rows, std::size_t cols, T* first, T* last);

    /// Filled row by row from a container. Excess values are ignored, missing elements are zero.
    /// @{
    Array2d(std::size_t rows, std::size_t cols, const std::vector<T>& values);
    Array2d(std::size_t rows, std::size_t cols, const std::initializer_list<T>& values);
    /// @}

    /// A copy of the `rows` x `cols` elements from `values` on, row by row.
    Array2d(const T* values, std::size_t rows, std::size_t cols);

    /// A copy of shape and elements.
    Array2d(const Array2d& other);

    /// Takes shape and elements of `other`, which is empty afterwards.
    Array2d(Array2d&& other) noexcept;

    /// Shape and value of other number types. A literal 0 is a number here, not a null pointer.
    template <class Rows, class Cols, class Value,
              std::enable_if_t<std::is_integral_v<Rows> && std::is_integral_v<Cols> &&
                                   std::is_arithmetic_v<Value>,
                               int> = 0>
    Array2d(Rows rows, Cols cols, Value value)
        : Array2d(static_cast<std::size_t>(rows), static_cast<std::size_t>(cols),
                  static_cast<T>(value)) {}

    ~Array2d();

    /// Replaces shape and elements by copies of those of `other`.
    const Array2d& operator=(const Array2d& other);

    /// Replaces shape and elements by those of `other`, which is empty afterwards.
    Array2d& operator=(Array2d&& other) noexcept;

    /// Copies `size()` elements row by row from `source`, which must have that many.
    void copy_from(const T* source);

    /// The shape.
    /// @{
    std::size_t rows() const;
    std::size_t cols() const;
    /// @}

    /// Number of elements, rows() x cols().
    std::size_t size() const;

    /// The elements, contiguous and row by row. May be null if the array is empty. Pointers and
    /// references to elements are valid until the array is assigned to, moved from or destroyed.
    /// @{
    T* data();
    const T* data() const;
    T* begin() { return data(); }
    const T* begin() const { return data(); }
    T* end() { return data() + size(); }
    const T* end() const { return data() + size(); }
    /// @}

    /// The element in a row and a column, both counted from 0.
    /// @{
    T& operator()(std::size_t row, std::size_t col);
    const T& operator()(std::size_t row, std::size_t col) const;
    /// @}

private:
    friend struct ValueAccess;
    TableStorage<T>* data_; // null in a moved-from array only
};

extern template class MEKAPI2_TEMPLATE_API Array1d<unsigned int>;
extern template class MEKAPI2_TEMPLATE_API Array1d<float>;
extern template class MEKAPI2_TEMPLATE_API Array2d<unsigned int>;
extern template class MEKAPI2_TEMPLATE_API Array2d<float>;

} // namespace Tyr::Mek2
