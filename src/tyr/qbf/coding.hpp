/// @file
/// Numbers in little-endian byte order, the only one in a container.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace TyrQbf {

template <std::size_t Size>
struct UnsignedOfSize;
template <>
struct UnsignedOfSize<1> {
    using type = std::uint8_t;
};
template <>
struct UnsignedOfSize<4> {
    using type = std::uint32_t;
};
template <>
struct UnsignedOfSize<8> {
    using type = std::uint64_t;
};

/// Writes the `sizeof(T)` bytes of an integer or IEEE 754 number to `target`, lowest byte first.
template <class T>
void EncodeLittleEndian(T value, unsigned char* target) {
    static_assert(std::is_arithmetic_v<T>);
    typename UnsignedOfSize<sizeof(T)>::type bits{};
    std::memcpy(&bits, &value, sizeof(T));
    for (std::size_t i = 0; i < sizeof(T); ++i) {
        target[i] = static_cast<unsigned char>(static_cast<std::uint64_t>(bits) >> (8 * i));
    }
}

template <class T>
std::array<unsigned char, sizeof(T)> LittleEndian(T value) {
    std::array<unsigned char, sizeof(T)> bytes{};
    EncodeLittleEndian(value, bytes.data());
    return bytes;
}

/// Reads the `sizeof(T)` bytes of a number from `source`.
template <class T>
T DecodeLittleEndian(const unsigned char* source) {
    static_assert(std::is_arithmetic_v<T>);
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) {
        bits |= std::uint64_t{source[i]} << (8 * i);
    }
    const auto sized = static_cast<typename UnsignedOfSize<sizeof(T)>::type>(bits);
    T value{};
    std::memcpy(&value, &sized, sizeof(T));
    return value;
}

} // namespace TyrQbf
