/// @file
/// Turns the bytes of a fuzzer into choices.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace Fuzz {

/// Hands out values from the front. Once the bytes are used up everything is zero or empty.
class ByteSource {
public:
    ByteSource(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    bool isEmpty() const { return size_ == 0; }

    template <class T>
    T number() {
        T value{};
        const std::size_t taken = std::min(sizeof value, size_);
        std::memcpy(&value, data_, taken);
        skip(taken);
        return value;
    }

    std::uint8_t byte() { return number<std::uint8_t>(); }
    unsigned int below(unsigned int end) { return byte() % end; }

    /// A text of less than `limit` bytes.
    std::string text(unsigned int limit) {
        const std::size_t length = std::min<std::size_t>(below(limit), size_);
        std::string value(reinterpret_cast<const char*>(data_), length);
        skip(length);
        return value;
    }

private:
    void skip(std::size_t count) {
        data_ += count;
        size_ -= count;
    }

    const std::uint8_t* data_;
    std::size_t size_;
};

} // namespace Fuzz
