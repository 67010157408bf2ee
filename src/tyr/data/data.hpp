/// @file
/// Bulk payload with its attributes.
#pragma once

namespace Tyr::Data {

template <class ArrayType, class MapType, class TraitsType>
class Data {
public:
    using Array = ArrayType;
    using Map = MapType;
    using Traits = TraitsType;

    Data() = default;

    /// Copies both.
    Data(const Array& values, const Map& map) : array(values), attributes(map) {}

    Data(const Data&) = default;
    Data(Data&&) = default;
    Data& operator=(const Data&) = default;
    Data& operator=(Data&&) = default;
    virtual ~Data() = default;

    Array array;
    Map attributes;
};

} // namespace Tyr::Data
