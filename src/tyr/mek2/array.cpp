#include <tyr/mek2/array.hpp>

#include "tyr/mek2/valuestorage.hpp"

#include <algorithm>
#include <iterator>
#include <limits>
#include <new>
#include <utility>

namespace Tyr::Mek2 {

namespace {

/// @throws std::bad_alloc the size does not fit the signed type of the storage
Eigen::Index toIndex(std::size_t size) {
    if (size > static_cast<std::size_t>(std::numeric_limits<Eigen::Index>::max())) {
        throw std::bad_alloc();
    }
    return static_cast<Eigen::Index>(size);
}

template <class T>
ColumnStorage<T>* newColumn(std::size_t n, const T& value) {
    return new ColumnStorage<T>{Column<T>::Constant(toIndex(n), value)};
}

template <class T, class Iterator>
ColumnStorage<T>* newColumn(Iterator first, Iterator last) {
    const auto n = static_cast<std::size_t>(std::distance(first, last));
    ColumnStorage<T>* const column = new ColumnStorage<T>{Column<T>(toIndex(n))};
    std::copy(first, last, column->values.data());
    return column;
}

template <class T>
TableStorage<T>* newTable(std::size_t rows, std::size_t cols, const T& value) {
    return new TableStorage<T>{Table<T>::Constant(toIndex(rows), toIndex(cols), value)};
}

template <class T, class Iterator>
TableStorage<T>* newTable(std::size_t rows, std::size_t cols, Iterator first, Iterator last) {
    TableStorage<T>* const table = newTable<T>(rows, cols, T());
    const auto given = static_cast<Eigen::Index>(std::distance(first, last));
    std::copy_n(first, std::min(given, table->values.size()), table->values.data());
    return table;
}

template <class T>
T& elementOf(Table<T>& table, std::size_t row, std::size_t col) {
    return table.data()[row * static_cast<std::size_t>(table.cols()) + col];
}

} // namespace

template <class T>
Array1d<T>::Array1d(std::size_t n) : data_(newColumn<T>(n, T())) {}

template <class T>
Array1d<T>::Array1d(std::size_t n, const T& value) : data_(newColumn<T>(n, value)) {}

template <class T>
Array1d<T>::Array1d(T* first, T* last) : data_(newColumn<T>(first, last)) {}

template <class T>
Array1d<T>::Array1d(const std::vector<T>& values)
    : data_(newColumn<T>(values.begin(), values.end())) {}

template <class T>
Array1d<T>::Array1d(const std::initializer_list<T>& values)
    : data_(newColumn<T>(values.begin(), values.end())) {}

template <class T>
Array1d<T>::Array1d(const T* values, std::size_t n) : data_(newColumn<T>(values, values + n)) {}

template <class T>
Array1d<T>::Array1d(const Array1d& other) : data_(copyOfHeld(other.data_)) {}

template <class T>
Array1d<T>::Array1d(Array1d&& other) noexcept : data_(std::exchange(other.data_, nullptr)) {}

template <class T>
Array1d<T>::~Array1d() {
    delete data_;
    data_ = nullptr;
}

template <class T>
const Array1d<T>& Array1d<T>::operator=(const Array1d& other) {
    if (this != &other) {
        Array1d copy(other);
        std::swap(data_, copy.data_);
    }
    return *this;
}

template <class T>
Array1d<T>& Array1d<T>::operator=(Array1d&& other) noexcept {
    Array1d taken(std::move(other));
    std::swap(data_, taken.data_);
    return *this;
}

template <class T>
void Array1d<T>::copy_from(const T* source) {
    std::copy_n(source, size(), data());
}

template <class T>
std::size_t Array1d<T>::size() const {
    return static_cast<std::size_t>(heldBy(data_).values.size());
}

template <class T>
T* Array1d<T>::data() {
    return data_ == nullptr ? nullptr : data_->values.data();
}

template <class T>
const T* Array1d<T>::data() const {
    return heldBy(data_).values.data();
}

template <class T>
T& Array1d<T>::operator[](std::size_t i) {
    return data_->values.data()[i];
}

template <class T>
const T& Array1d<T>::operator[](std::size_t i) const {
    return data_->values.data()[i];
}

template <class T>
T& Array1d<T>::operator()(std::size_t i) {
    return data_->values.data()[i];
}

template <class T>
const T& Array1d<T>::operator()(std::size_t i) const {
    return data_->values.data()[i];
}

template <class T>
Array2d<T>::Array2d(std::size_t rows, std::size_t cols) : data_(newTable<T>(rows, cols, T())) {}

template <class T>
Array2d<T>::Array2d(std::size_t rows, std::size_t cols, const T& value)
    : data_(newTable<T>(rows, cols, value)) {}

template <class T>
Array2d<T>::Array2d(std::size_t rows, std::size_t cols, T* first, T* last)
    : data_(newTable<T>(rows, cols, first, last)) {}

template <class T>
Array2d<T>::Array2d(std::size_t rows, std::size_t cols, const std::vector<T>& values)
    : data_(newTable<T>(rows, cols, values.begin(), values.end())) {}

template <class T>
Array2d<T>::Array2d(std::size_t rows, std::size_t cols, const std::initializer_list<T>& values)
    : data_(newTable<T>(rows, cols, values.begin(), values.end())) {}

template <class T>
Array2d<T>::Array2d(const T* values, std::size_t rows, std::size_t cols)
    : data_(newTable<T>(rows, cols, T())) {
    copy_from(values);
}

template <class T>
Array2d<T>::Array2d(const Array2d& other) : data_(copyOfHeld(other.data_)) {}

template <class T>
Array2d<T>::Array2d(Array2d&& other) noexcept : data_(std::exchange(other.data_, nullptr)) {}

template <class T>
Array2d<T>::~Array2d() {
    delete data_;
    data_ = nullptr;
}

template <class T>
const Array2d<T>& Array2d<T>::operator=(const Array2d& other) {
    if (this != &other) {
        Array2d copy(other);
        std::swap(data_, copy.data_);
    }
    return *this;
}

template <class T>
Array2d<T>& Array2d<T>::operator=(Array2d&& other) noexcept {
    Array2d taken(std::move(other));
    std::swap(data_, taken.data_);
    return *this;
}

template <class T>
void Array2d<T>::copy_from(const T* source) {
    std::copy_n(source, size(), data());
}

template <class T>
std::size_t Array2d<T>::rows() const {
    return static_cast<std::size_t>(heldBy(data_).values.rows());
}

template <class T>
std::size_t Array2d<T>::cols() const {
    return static_cast<std::size_t>(heldBy(data_).values.cols());
}

template <class T>
std::size_t Array2d<T>::size() const {
    return static_cast<std::size_t>(heldBy(data_).values.size());
}

template <class T>
T* Array2d<T>::data() {
    return data_ == nullptr ? nullptr : data_->values.data();
}

template <class T>
const T* Array2d<T>::data() const {
    return heldBy(data_).values.data();
}

template <class T>
T& Array2d<T>::operator()(std::size_t row, std::size_t col) {
    return elementOf(data_->values, row, col);
}

template <class T>
const T& Array2d<T>::operator()(std::size_t row, std::size_t col) const {
    return elementOf(data_->values, row, col);
}

template class MEKAPI2_TEMPLATE_DEFINITION_API Array1d<unsigned int>;
template class MEKAPI2_TEMPLATE_DEFINITION_API Array1d<float>;
template class MEKAPI2_TEMPLATE_DEFINITION_API Array2d<unsigned int>;
template class MEKAPI2_TEMPLATE_DEFINITION_API Array2d<float>;

} // namespace Tyr::Mek2
