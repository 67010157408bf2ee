/// @file
/// Reads a node property from its variant.
#pragma once

#include "tyr/exception/raise.hpp"

#include <vector>

namespace Tyr::Variant::Visitor {

/// Visitor that returns the value as `T`: `std::vector<float>`, `float` or `bool`.
/// @throws TemplateSpecializationNotDefined the value has another type; the function name of the
///     location contains it
template <class T>
struct ValueGetter;

template <>
struct ValueGetter<std::vector<float>> {
    template <class Other>
    std::vector<float> operator()(const Other&) const {
        TYR_RAISE(Exception::TemplateSpecializationNotDefined());
    }
    std::vector<float> operator()(const std::vector<float>& value) const { return value; }
};

template <>
struct ValueGetter<float> {
    template <class Other>
    float operator()(const Other&) const {
        TYR_RAISE(Exception::TemplateSpecializationNotDefined());
    }
    float operator()(const float& value) const { return value; }
};

/// The variant has no `bool`: properties store it as an `int`.
template <>
struct ValueGetter<bool> {
    template <class Other>
    bool operator()(const Other&) const {
        TYR_RAISE(Exception::TemplateSpecializationNotDefined());
    }
    bool operator()(const int& value) const { return value != 0; }
};

} // namespace Tyr::Variant::Visitor
