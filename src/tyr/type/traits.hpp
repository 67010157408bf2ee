/// @file
/// Element types of arrays.
#pragma once

#include <cstdint>

namespace Tyr::Type {

/// `elementType` is the code of the type in the file.
template <class T>
struct Traits;

template <>
struct Traits<float> {
    using Element = float;
    static constexpr std::uint32_t elementType = 1;
};

template <>
struct Traits<unsigned int> {
    using Element = unsigned int;
    static constexpr std::uint32_t elementType = 5;
};

} // namespace Tyr::Type
