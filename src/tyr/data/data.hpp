/// @file
/// An array with its attributes.
#pragma once

#include "tyr/variant/copy.hpp"

#include <utility>

namespace Tyr::Data {

/// The bulk payload of a call. Copies are safe when memory runs out: an assignment that fails
/// changes nothing.
template <class ArrayType, class MapType, class TraitsType>
class Data {
public:
    using Array = ArrayType;
    using Map = MapType;
    using Traits = TraitsType;

    Data() = default;
    Data(const Array& values, const Map& map) : array(values), attributes(Variant::copyOf(map)) {}
    Data(const Array& values, Map&& map) : array(values), attributes(std::move(map)) {}
    Data(Array&& values, Map&& map) : array(std::move(values)), attributes(std::move(map)) {}

    Data(const Data& other) : Data(other.array, other.attributes) {}
    Data(Data&&) = default;
    Data& operator=(const Data& other) { return *this = Data(other); }
    Data& operator=(Data&&) = default;
    virtual ~Data() = default;

    Array array;
    Map attributes;
};

} // namespace Tyr::Data
