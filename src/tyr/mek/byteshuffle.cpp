#include "tyr/mek/byteshuffle.hpp"

#include <cstddef>
#include <cstring>

namespace TyrMek {

namespace {

constexpr std::size_t valueSize = 4;

std::uint32_t LoadValue(const unsigned char* bytes) {
    std::uint32_t value = 0;
    std::memcpy(&value, bytes, valueSize);
    return value;
}

/// Shuffles one component: every `stride`-th value from `values` on.
void ShuffleComponent(const unsigned char* values, std::size_t count, std::size_t stride,
                      unsigned char* __restrict target) {
    unsigned char* const lowestBytes = target;
    unsigned char* const secondBytes = target + count;
    unsigned char* const thirdBytes = target + 2 * count;
    unsigned char* const highestBytes = target + 3 * count;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t value = LoadValue(values + i * stride * valueSize);
        lowestBytes[i] = static_cast<unsigned char>(value);
        secondBytes[i] = static_cast<unsigned char>(value >> 8);
        thirdBytes[i] = static_cast<unsigned char>(value >> 16);
        highestBytes[i] = static_cast<unsigned char>(value >> 24);
    }
}

} // namespace

void ShuffleBytes(const void* values, std::uint64_t count, std::uint8_t width,
                  unsigned char* target) noexcept {
    const auto* const bytes = static_cast<const unsigned char*>(values);
    for (std::size_t component = 0; component < width; ++component) {
        ShuffleComponent(bytes + component * valueSize, static_cast<std::size_t>(count), width,
                         target + component * valueSize * count);
    }
}

} // namespace TyrMek
