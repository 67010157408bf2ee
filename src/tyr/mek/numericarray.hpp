/// @file
/// Description of a dataset.
#pragma once

#include <cstdint>

namespace TyrMek {

/// Held by value, never through a base.
class NumericArray final {
public:
    virtual const std::uint8_t& GetWidth() const { return width; }
    virtual std::uint64_t GetValueCount() const { return byteSize / 4; }

    const unsigned char* data = nullptr; ///< valid only while the dataset is streamed
    std::uint64_t byteSize = 0;
    std::uint8_t width = 1;        ///< values per item
    std::uint32_t elementType = 0; ///< 1 float, 5 unsigned 32-bit
    bool firstOption = false;
    bool secondOption = false;
    float firstValue = 0;
    float secondValue = 0;
    bool thirdOption = false;
};

} // namespace TyrMek
