/// @file
/// Bulk payload with its attributes.
#pragma once

#include <utility>

namespace Tyr::Data {

template <class ArrayType, class MapType, class TraitsType>
class Data {
public:
    using Array = ArrayType;
    using Map = MapType;
    using Traits = TraitsType;

    Data() = default;

    /// Copies the array and takes the map over.
    Data(const Array& values, Map&& map) : array(values), attributes(std::move(map)) {}

    Data(const Data&) = delete;
    Data(Data&&) = default;
    Data& operator=(const Data&) = delete;
    Data& operator=(Data&&) = default;
    virtual ~Data() = default;

    Array array;
    Map attributes;
};

} // namespace Tyr::Data
