/// @file
/// Copies of attributes and properties that are safe when memory runs out.
///
/// The copy constructor of libstdc++'s `std::variant` is not: if copying a string or a vector
/// raises an exception, it destroys the alternative that was never constructed. A variant that is
/// constructed from a value is not affected.
#pragma once

#include <map>
#include <type_traits>
#include <utility>
#include <variant>

namespace Tyr::Variant {

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

} // namespace Tyr::Variant
