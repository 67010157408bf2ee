/// @file
/// The arrays in which an application hands bulk data to a `Model`.
///
/// An array owns its elements and never shares them: a copy is a deep copy. Nothing is checked; an
/// index outside the array is a fault of the caller. Sizes must stay below 2^31 in each dimension,
/// a larger array is refused by `Model::addArrayProperty`. An allocation that fails raises
/// `std::bad_alloc`. Different objects may be used from different threads.
#pragma once

#include <tyr/export.hpp>

#include <cstddef>
#include <initializer_list>
#include <vector>

namespace Tyr::Mek2 {

struct ValueAccess;

template <class T>
struct ColumnStorage;
template <class T>
struct TableStorage;

/// A column of `float` or `unsigned int`; no other element type exists.
template <class T>
class Array1d {
public:
    /// @param n element count; all elements are zero
    Array1d(std::size_t n = 0);

    /// `n` elements, all `value`.
    Array1d(std::size_t n, const T& value);

    /// A copy of the range [first, last).
    Array1d(T* first, T* last);

    /// A copy of the values.
    /// @{
    Array1d(const std::vector<T>& values);
    Array1d(const std::initializer_list<T>& values);
    Array1d(const Array1d& other);
    /// @}

    ~Array1d();

    /// Takes size and content of `other`.
    const Array1d& operator=(const Array1d& other);

    /// Copies `size()` elements from `source`, which must hold that many; the size stays.
    void copy_from(const T* source);

    /// Number of elements.
    std::size_t size() const;

    /// Element `i`, from 0 on; valid until the array is assigned to or destroyed.
    /// @{
    T& operator[](std::size_t i);
    const T& operator[](std::size_t i) const;
    T& operator()(std::size_t i);
    const T& operator()(std::size_t i) const;
    /// @}

private:
    friend struct ValueAccess;
    ColumnStorage<T>* data_;
};

/// A table of `float` or `unsigned int` in row-major order: the element at row i and column j
/// stands at index i x cols() + j. No other element type exists.
template <class T>
class Array2d {
public:
    /// All elements are zero.
    Array2d(std::size_t rows = 0, std::size_t cols = 0);

    /// All elements are `value`.
    Array2d(std::size_t rows, std::size_t cols, const T& value);

    /// Filled row after row from the range [first, last): what is too long is ignored, what is
    /// missing is zero. The shape comes from `rows` and `cols` alone.
    Array2d(std::size_t rows, std::size_t cols, T* first, T* last);

    /// Filled like the form with a range.
    Array2d(std::size_t rows, std::size_t cols, const std::vector<T>& values);

    /// Filled like the form with a range.
    Array2d(std::size_t rows, std::size_t cols, const std::initializer_list<T>& values);

    /// A copy of shape and content.
    Array2d(const Array2d& other);

    ~Array2d();

    /// Takes shape and content of `other`.
    const Array2d& operator=(const Array2d& other);

    /// Copies `size()` elements row after row from `source`, which must hold that many.
    void copy_from(const T* source);

    /// The shape.
    /// @{
    std::size_t rows() const;
    std::size_t cols() const;
    /// @}

    /// rows() x cols()
    std::size_t size() const;

    /// One element, from row and column 0 on; valid until the array is assigned to or destroyed.
    /// @{
    T& operator()(std::size_t row, std::size_t col);
    const T& operator()(std::size_t row, std::size_t col) const;
    /// @}

private:
    friend struct ValueAccess;
    TableStorage<T>* data_;
};

extern template class MEKAPI2_TEMPLATE_API Array1d<unsigned int>;
extern template class MEKAPI2_TEMPLATE_API Array1d<float>;
extern template class MEKAPI2_TEMPLATE_API Array2d<unsigned int>;
extern template class MEKAPI2_TEMPLATE_API Array2d<float>;

} // namespace Tyr::Mek2
