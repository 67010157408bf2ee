/// @file
/// The encoding of values in a block. There are no tags and no alignment; a reader has to know the
/// sequence of types.
///
///     numbers, bool   their bytes, little-endian; bool as 0 or 1
///     string          32-bit count of bytes, the bytes
///     vector          32-bit count of elements, the elements
///     sized record    32-bit count of bytes (itself included), version as string, fields
///
/// Other layers declare `Encode` overloads for their records next to the type, where `Index::Put`
/// finds them by argument-dependent lookup.
///
/// @throws OverflowError a count or the block would not fit 32 bits
/// @throws MemoryAllocationException no memory for the block
#pragma once

#include "tyr/qbf/block.hpp"
#include "tyr/qbf/coding.hpp"

#include <algorithm>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

namespace TyrQbf {

void Encode(Block& block, unsigned char value);
void Encode(Block& block, bool value);
void Encode(Block& block, int value);
void Encode(Block& block, unsigned int value);
void Encode(Block& block, std::uint64_t value);
void Encode(Block& block, float value);
void Encode(Block& block, const std::string& string);
void Encode(Block& block, const std::vector<unsigned char>& values);
void Encode(Block& block, const std::vector<unsigned int>& values);
void Encode(Block& block, const std::vector<float>& values);
void Encode(Block& block, const std::vector<double>& values);
void Encode(Block& block, const std::vector<std::string>& strings);

/// No implicit conversions: a pointer would become a bool, a character an int.
template <class T>
void Encode(Block& block, T value) = delete;

/// Number of elements as the 32-bit count of the format.
/// @throws OverflowError it does not fit
std::uint32_t EncodedCount(std::size_t count);

/// Bytes of an encoded number.
template <class T>
constexpr std::uint64_t EncodedSize(T) {
    static_assert(std::is_arithmetic_v<T>);
    return sizeof(T);
}

/// Bytes of an encoded string.
inline std::uint64_t EncodedSize(const std::string& string) {
    return sizeof(std::uint32_t) + string.size();
}

/// Encodes a number at `target`, which has room for it. @return the byte after it
template <class T>
unsigned char* EncodeTo(unsigned char* target, T value) {
    EncodeLittleEndian(value, target);
    return target + sizeof(T);
}

/// The same for a string, whose length must fit 32 bits.
inline unsigned char* EncodeTo(unsigned char* target, const std::string& string) {
    target = EncodeTo(target, static_cast<std::uint32_t>(string.size()));
    return std::copy(string.begin(), string.end(), target);
}

/// Writes a sized record: `encodeFields(block)` puts the fields; the size is filled in
/// afterwards.
template <class EncodeFields>
void EncodeSizedRecord(Block& block, const std::string& version, const EncodeFields& encodeFields) {
    const std::uint32_t start = block.position;
    Encode(block, 0U);
    Encode(block, version);
    encodeFields(block);
    const std::uint32_t end = block.position;
    block.SetPosition(start);
    Encode(block, end - start);
    block.SetPosition(end);
}

} // namespace TyrQbf
