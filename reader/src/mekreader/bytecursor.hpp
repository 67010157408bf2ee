/// @file
/// Reads little-endian values from untrusted bytes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace MekReader {

/// Every read raises `Error`, with the name of the bytes and the offset, if the bytes end early.
class ByteCursor {
public:
    /// @param bytes must outlive the cursor
    /// @param name of the bytes in error messages, such as "Light Data"
    ByteCursor(std::string_view bytes, std::string name);

    std::uint8_t u8(const char* field);
    std::uint32_t u32(const char* field);
    std::uint64_t u64(const char* field);
    float f32(const char* field);
    double f64(const char* field);

    /// One byte, 0 or 1.
    bool boolean(const char* field);

    /// A string: a 32-bit count and that many bytes.
    std::string string(const char* field);

    /// A 32-bit count of elements of at least `elementSize` bytes each. A count that exceeds the
    /// remaining bytes raises `Error`, so that nothing is allocated for it.
    std::uint32_t count(const char* field, std::uint64_t elementSize);

    std::string_view take(std::uint64_t size, const char* field);

    std::uint64_t position() const { return position_; }

    /// Raises `Error` if bytes remain.
    void expectEnd() const;

    /// Raises an `Error` that names the bytes and the current offset.
    [[noreturn]] void fail(const std::string& reason) const;

private:
    std::string_view bytes_;
    std::string name_;
    std::uint64_t position_ = 0;
};

/// Little-endian number in the first `size` (at most 8) of `bytes`.
std::uint64_t littleEndian(std::string_view bytes, std::size_t size);

} // namespace MekReader
