/// @file
/// Copies of attributes and properties that are safe when memory runs out.
///
/// The copy constructor of `std::variant` is not, with libstdc++: for alternatives that are never
/// valueless, as texts and vectors, it takes the variant under construction for whole when the
/// copy of the alternative fails, and destroys what was never made. A variant that is made from a
/// value is constructed in place and has no such moment.
#pragma once

#include <map>
#include <type_traits>
#include <utility>
#include <variant>

namespace Tyr::Mek2 {

template <class T>
T copyOf(const T& value) {
    return value;
}

template <class... Alternatives>
std::variant<Alternatives...> copyOf(const std::variant<Alternatives...>& variant) {
    return std::visit(
        [](const auto& value) {
            using Alternative = std::decay_t<decltype(value)>;
            return std::variant<Alternatives...>(std::in_place_type<Alternative>, value);
        },
        variant);
}

template <class Key, class Value>
std::map<Key, Value> copyOf(const std::map<Key, Value>& map) {
    std::map<Key, Value> copy;
    for (const auto& [key, value] : map) {
        copy.emplace_hint(copy.end(), key, copyOf(value));
    }
    return copy;
}

} // namespace Tyr::Mek2
