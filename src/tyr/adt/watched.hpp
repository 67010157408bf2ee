/// @file
/// A container that records whether code other than its owner can change it.
#pragma once

#include <initializer_list>
#include <type_traits>
#include <utility>

namespace TyrAdt {

/// What a container is indexed by: the key of a map, the position in a vector.
template <class Container, class = void>
struct KeyOf {
    using Type = typename Container::size_type;
};
template <class Container>
struct KeyOf<Container, std::void_t<typename Container::key_type>> {
    using Type = typename Container::key_type;
};

/// A container that any code may read and change, and that its `Owner` indexes.
///
/// An index is exact only as long as the owner makes every change itself. Each member function that
/// lets other code change the container, or returns a reference through which this is possible
/// later, marks it as exposed. The mark is permanent, because the reference may be kept. If its
/// container is exposed, an owner searches the container itself and does not use its index. Reading
/// through a constant reference exposes nothing.
///
/// The owner is a friend and works on `items_`. The other members are those of the standard
/// containers and behave like them.
template <class Container, class Owner>
class Watched {
public:
    using value_type = typename Container::value_type;
    using size_type = typename Container::size_type;
    using iterator = typename Container::iterator;
    using const_iterator = typename Container::const_iterator;
    using Key = typename KeyOf<Container>::Type;

    Watched() = default;
    Watched(const Watched&) = default;
    Watched(Watched&& other) noexcept : items_(std::move(other.Exposed())) {}
    ~Watched() = default;

    Watched& operator=(const Watched& other) {
        if (this != &other) {
            Exposed() = other.items_;
        }
        return *this;
    }
    Watched& operator=(Container items) {
        Exposed() = std::move(items);
        return *this;
    }
    Watched& operator=(std::initializer_list<value_type> items) {
        Exposed() = items;
        return *this;
    }

    operator const Container&() const { return items_; }
    operator Container&() { return Exposed(); }

    /// Whether code other than the owner can have changed the container.
    bool IsExposed() const { return isExposed_; }

    // NOLINTBEGIN(readability-identifier-naming): the names of the standard containers

    bool empty() const { return items_.empty(); }
    size_type size() const { return items_.size(); }

    const_iterator cbegin() const { return items_.begin(); }
    const_iterator cend() const { return items_.end(); }
    const_iterator begin() const { return items_.begin(); }
    const_iterator end() const { return items_.end(); }
    iterator begin() { return Exposed().begin(); }
    iterator end() { return Exposed().end(); }

    decltype(auto) front() const { return items_.front(); }
    decltype(auto) front() { return Exposed().front(); }
    decltype(auto) back() const { return items_.back(); }
    decltype(auto) back() { return Exposed().back(); }
    decltype(auto) data() const { return items_.data(); }
    decltype(auto) data() { return Exposed().data(); }

    decltype(auto) operator[](const Key& key) const { return items_[key]; }
    decltype(auto) operator[](const Key& key) { return Exposed()[key]; }
    decltype(auto) at(const Key& key) const { return items_.at(key); }
    decltype(auto) at(const Key& key) { return Exposed().at(key); }
    size_type count(const Key& key) const { return items_.count(key); }
    const_iterator find(const Key& key) const { return items_.find(key); }
    iterator find(const Key& key) { return Exposed().find(key); }
    const_iterator lower_bound(const Key& key) const { return items_.lower_bound(key); }
    iterator lower_bound(const Key& key) { return Exposed().lower_bound(key); }

    void clear() { Exposed().clear(); }
    void pop_back() { Exposed().pop_back(); }
    template <class Item>
    void push_back(Item&& item) {
        Exposed().push_back(std::forward<Item>(item));
    }
    template <class... Arguments>
    decltype(auto) emplace_back(Arguments&&... arguments) {
        return Exposed().emplace_back(std::forward<Arguments>(arguments)...);
    }
    template <class... Arguments>
    decltype(auto) emplace(Arguments&&... arguments) {
        return Exposed().emplace(std::forward<Arguments>(arguments)...);
    }
    template <class... Arguments>
    decltype(auto) try_emplace(const Key& key, Arguments&&... arguments) {
        return Exposed().try_emplace(key, std::forward<Arguments>(arguments)...);
    }
    template <class Item>
    decltype(auto) insert_or_assign(const Key& key, Item&& item) {
        return Exposed().insert_or_assign(key, std::forward<Item>(item));
    }
    template <class... Arguments>
    decltype(auto) insert(Arguments&&... arguments) {
        return Exposed().insert(std::forward<Arguments>(arguments)...);
    }
    template <class... Arguments>
    decltype(auto) erase(Arguments&&... arguments) {
        return Exposed().erase(std::forward<Arguments>(arguments)...);
    }
    void resize(size_type size) { Exposed().resize(size); }
    void reserve(size_type size) { Exposed().reserve(size); }
    void swap(Container& other) { Exposed().swap(other); }

    // NOLINTEND(readability-identifier-naming)

private:
    friend Owner;

    Container& Exposed() {
        isExposed_ = true;
        return items_;
    }

    Container items_;
    bool isExposed_ = false;
};

} // namespace TyrAdt
