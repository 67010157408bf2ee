#include "frd/binaryblock.hpp"

#include "frd/formaterror.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

namespace Frd {

namespace {

constexpr std::size_t longestKey = 6;
constexpr std::array<std::string_view, 7> textKeys{"    1C", "    1U", "    1P", "    2C",
                                                   "    3C", "  100C", " 9999"};

template <class T>
T unsignedAt(std::string_view record, std::size_t offset) {
    T value = 0;
    for (std::size_t i = sizeof(T); i-- > 0;) {
        value = static_cast<T>(value << 8U) | static_cast<unsigned char>(record[offset + i]);
    }
    return value;
}

template <class T, class Bits>
T numberAt(std::string_view record, std::size_t offset) {
    static_assert(sizeof(T) == sizeof(Bits));
    const Bits bits = unsignedAt<Bits>(record, offset);
    T value{};
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

bool isTextRecord(std::string_view bytes) {
    return std::any_of(textKeys.begin(), textKeys.end(),
                       [&](std::string_view key) { return bytes.substr(0, key.size()) == key; });
}

} // namespace

std::int32_t int32At(std::string_view record, std::size_t offset) {
    return numberAt<std::int32_t, std::uint32_t>(record, offset);
}

float float32At(std::string_view record, std::size_t offset) {
    const auto value = numberAt<float, std::uint32_t>(record, offset);
    return std::isnan(value) ? std::numeric_limits<float>::quiet_NaN() : value;
}

float float64At(std::string_view record, std::size_t offset) {
    const auto value = numberAt<double, std::uint64_t>(record, offset);
    if (std::isnan(value)) {
        return std::numeric_limits<float>::quiet_NaN();
    }
    if (std::abs(value) > static_cast<double>(std::numeric_limits<float>::max())) {
        return std::copysign(std::numeric_limits<float>::infinity(), value > 0 ? 1.0F : -1.0F);
    }
    return static_cast<float>(value);
}

bool BinaryBlock::isAtEnd() {
    const std::string_view bytes = input_.peek(longestKey);
    return isTextRecord(bytes) || (bytes.empty() && records_ == head_.count);
}

std::string_view BinaryBlock::peek(std::size_t size) {
    const std::string_view record = input_.peek(size);
    if (record.size() < size) {
        throw EndOfFile(
            head_.line,
            "record " + std::to_string(records_ + 1) + " of the binary block after this line",
            !record.empty());
    }
    return record;
}

std::string_view BinaryBlock::take(std::size_t size) {
    const std::string_view record = peek(size);
    input_.skip(size);
    ++records_;
    return record;
}

void BinaryBlock::failExpecting(const std::string& what, std::int64_t found) const {
    throw FormatError(head_.line, "expected " + what + " in record " + std::to_string(records_) +
                                      " of the binary block after this line, found " +
                                      std::to_string(found));
}

std::uint32_t BinaryBlock::id(std::string_view record, std::size_t offset, const char* what) const {
    const std::int32_t number = int32At(record, offset);
    if (number < 1) {
        failExpecting(what, number);
    }
    return static_cast<std::uint32_t>(number);
}

} // namespace Frd
