/// @file
/// Takes a node property out of its variant as the exact type of its target.
#pragma once

#include "tyr/exception/raise.hpp"

#include <vector>

namespace Tyr::Variant::Visitor {

/// Exists for `std::vector<float>`, `float` and `bool`.
/// @throws TemplateSpecializationNotDefined any other kind of value; the location names it
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

/// There is no alternative for `bool`: it is kept as an `int`.
template <>
struct ValueGetter<bool> {
    template <class Other>
    bool operator()(const Other&) const {
        TYR_RAISE(Exception::TemplateSpecializationNotDefined());
    }
    bool operator()(const int& value) const { return value != 0; }
};

} // namespace Tyr::Variant::Visitor
