/// @file
/// Turns the bytes of a fuzzer into choices.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace Fuzz {

/// Hands out values from the front. Once the bytes are used up everything is zero or empty.
class ByteSource {
public:
    ByteSource(const std::uint8_t* data, std::size_t size)
        : bytes_(reinterpret_cast<const char*>(data), size) {}

    bool isEmpty() const { return position_ == bytes_.size(); }

    /// As many of the next `count` bytes as there are.
    std::string bytes(std::size_t count) {
        std::string taken = bytes_.substr(position_, count);
        position_ += taken.size();
        return taken;
    }

    template <class T>
    T number() {
        T value{};
        const std::string taken = bytes(sizeof value);
        std::memcpy(&value, taken.data(), taken.size());
        return value;
    }

    unsigned int below(unsigned int end) { return number<std::uint8_t>() % end; }

    /// A text of less than `limit` bytes.
    std::string text(unsigned int limit) { return bytes(below(limit)); }

private:
    std::string bytes_;
    std::size_t position_ = 0;
};

} // namespace Fuzz
