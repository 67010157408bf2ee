#include "mekreader/bytecursor.hpp"

#include "mekreader/error.hpp"

#include <cstring>
#include <utility>

namespace MekReader {

namespace {

template <class Number, class Bits>
Number numberOfBits(Bits bits) {
    static_assert(sizeof(Number) == sizeof(Bits));
    Number number;
    std::memcpy(&number, &bits, sizeof(Number));
    return number;
}

} // namespace

std::uint64_t littleEndian(std::string_view bytes, std::size_t size) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        value |= std::uint64_t{static_cast<unsigned char>(bytes[i])} << (8 * i);
    }
    return value;
}

ByteCursor::ByteCursor(std::string_view bytes, std::string name)
    : bytes_(bytes), name_(std::move(name)) {}

std::uint8_t ByteCursor::u8(const char* field) {
    return static_cast<std::uint8_t>(littleEndian(take(1, field), 1));
}

std::uint32_t ByteCursor::u32(const char* field) {
    return static_cast<std::uint32_t>(littleEndian(take(4, field), 4));
}

std::uint64_t ByteCursor::u64(const char* field) { return littleEndian(take(8, field), 8); }

float ByteCursor::f32(const char* field) { return numberOfBits<float>(u32(field)); }

double ByteCursor::f64(const char* field) { return numberOfBits<double>(u64(field)); }

bool ByteCursor::boolean(const char* field) {
    const std::uint8_t value = u8(field);
    if (value > 1) {
        fail(std::string(field) + " is " + std::to_string(value) + ", expected 0 or 1");
    }
    return value == 1;
}

std::string ByteCursor::string(const char* field) {
    return std::string(take(count(field, 1), field));
}

std::uint32_t ByteCursor::count(const char* field, std::uint64_t elementSize) {
    const std::uint32_t count = u32(field);
    if (count * elementSize > bytes_.size() - position_) {
        fail("a count of " + std::to_string(count) + " for " + field +
             " exceeds the remaining bytes");
    }
    return count;
}

std::string_view ByteCursor::take(std::uint64_t size, const char* field) {
    if (size > bytes_.size() - position_) {
        fail(std::string("ends within ") + field);
    }
    const std::string_view taken = bytes_.substr(position_, size);
    position_ += size;
    return taken;
}

void ByteCursor::expectEnd() const {
    if (position_ != bytes_.size()) {
        fail(std::to_string(bytes_.size() - position_) + " bytes remain");
    }
}

void ByteCursor::fail(const std::string& reason) const {
    throw Error(name_ + " at byte " + std::to_string(position_) + ": " + reason);
}

} // namespace MekReader
