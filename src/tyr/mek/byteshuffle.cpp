#include "tyr/mek/byteshuffle.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace TyrMek {

namespace {

constexpr std::size_t valueSize = 4;
constexpr std::size_t rowsOfPart = std::size_t{256} * 1024; // of a task

std::uint32_t LoadValue(const unsigned char* bytes) {
    std::uint32_t value = 0;
    std::memcpy(&value, bytes, valueSize);
    return value;
}

/// Shuffles `count` values of one component: every `stride`-th value from `values` on.
/// @param target of the lowest byte of the first value
/// @param rows values of the whole component: the distance between the bytes of one value
void ShuffleComponent(const unsigned char* values, std::size_t count, std::size_t stride,
                      unsigned char* __restrict target, std::size_t rows) {
    unsigned char* const lowestBytes = target;
    unsigned char* const secondBytes = target + rows;
    unsigned char* const thirdBytes = target + 2 * rows;
    unsigned char* const highestBytes = target + 3 * rows;
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
                         target + component * valueSize * count, static_cast<std::size_t>(count));
    }
}

void ShuffleBytes(const void* values, std::uint64_t count, std::uint8_t width,
                  unsigned char* target, const TyrQbf::ParallelFor& parallelFor) {
    const auto rows = static_cast<std::size_t>(count);
    const std::size_t parts = (rows + rowsOfPart - 1) / rowsOfPart; // of each component
    if (!parallelFor || parts * width < 2) {
        ShuffleBytes(values, count, width, target);
        return;
    }
    const auto* const bytes = static_cast<const unsigned char*>(values);
    TyrQbf::RunTasks(parallelFor, parts * width, [&](std::size_t index) {
        const std::size_t component = index / parts;
        const std::size_t first = index % parts * rowsOfPart;
        ShuffleComponent(bytes + (first * width + component) * valueSize,
                         std::min(rowsOfPart, rows - first), width,
                         target + component * valueSize * rows + first, rows);
    });
}

void ShufflePlane(const void* values, std::uint64_t count, std::uint8_t width, std::uint32_t plane,
                  unsigned char* target) noexcept {
    const auto* const first =
        static_cast<const unsigned char*>(values) + plane / valueSize * valueSize;
    const auto rows = static_cast<std::size_t>(count);
    const std::size_t rowSize = width * valueSize;
    const std::uint32_t shift = 8 * (plane % valueSize);
    for (std::size_t row = 0; row < rows; ++row) {
        target[row] = static_cast<unsigned char>(LoadValue(first + row * rowSize) >> shift);
    }
}

} // namespace TyrMek
