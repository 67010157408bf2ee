/// @file
/// Converts the input of a fuzzer to numbers and strings.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace Fuzz {

/// Reads values from the start of the input. After its end all values are zero or empty.
class ByteSource {
public:
    ByteSource(const std::uint8_t* data, std::size_t size)
        : bytes_(reinterpret_cast<const char*>(data), size) {}

    bool isEmpty() const { return position_ == bytes_.size(); }

    /// The next `count` bytes, or the remaining ones if there are fewer.
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

    /// A string of less than `limit` bytes.
    std::string string(unsigned int limit) { return bytes(below(limit)); }

private:
    std::string bytes_;
    std::size_t position_ = 0;
};

} // namespace Fuzz
