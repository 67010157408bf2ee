/// @file
/// A hash value of arguments, by which ranks compare them.
#pragma once

#include "tyr/mek2/valuestorage.hpp"

#include <boost/functional/hash.hpp>

#include <cstddef>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace Tyr::Mek2 {

/// Equal arguments have equal values in all processes of a program. Needs no memory.
class Digest {
public:
    template <class... T>
    explicit Digest(const T&... arguments) {
        (add(arguments), ...);
    }

    std::size_t value() const { return value_; }

    template <class T>
    void add(const T& argument) {
        if constexpr (std::is_enum_v<T>) {
            add(static_cast<std::underlying_type_t<T>>(argument));
        } else {
            boost::hash_combine(value_, argument);
        }
    }

    template <class T>
    void add(const std::vector<T>& values) {
        add(values.size());
        for (const auto& value : values) {
            add(value);
        }
    }

    template <class Key, class Value>
    void add(const std::map<Key, Value>& map) {
        add(map.size());
        for (const auto& [key, value] : map) {
            add(key);
            add(value);
        }
    }

    template <class... T>
    void add(const std::variant<T...>& variant) {
        add(variant.index());
        std::visit([this](const auto& held) { this->add(held); }, variant);
    }

    void add(const Attributes& attributes) { add(ValueAccess::of(attributes)); }
    void add(const NodeProperties& properties) { add(ValueAccess::of(properties)); }
    void add(const StepData& step) {
        add(step.name);
        add(step.attributes);
    }

private:
    std::size_t value_ = 0;
};

} // namespace Tyr::Mek2
