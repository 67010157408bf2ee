#include "tyr/qbf/blocksize.hpp"

#include "tyr/qbf/unchangedenvironment.hpp"

#include <charconv>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <system_error>

namespace TyrQbf {

namespace {

constexpr std::uint32_t outOfRange = std::numeric_limits<std::uint32_t>::max();

/// `strtoul` with base 10 and an `unsigned long` of 32 bits; skips the same white space.
std::uint32_t ParseUnsigned32(std::string_view digits) {
    const std::size_t start = digits.find_first_not_of(" \t\n\v\f\r");
    digits.remove_prefix(start == std::string_view::npos ? digits.size() : start);
    const bool isNegative = !digits.empty() && digits.front() == '-';
    if (isNegative || (!digits.empty() && digits.front() == '+')) {
        digits.remove_prefix(1);
    }
    std::uint32_t value = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        return outOfRange;
    }
    return isNegative ? 0U - value : value;
}

std::optional<std::uint32_t> ReadEnvironment() {
    const char* const value = std::getenv("MEKWRITER_DEFAULT_BLOCK_SIZE");
    if (value == nullptr) {
        return std::nullopt;
    }
    const std::uint32_t size = ParseUnsigned32(value);
    return size == outOfRange ? std::nullopt : std::optional(size);
}

} // namespace

std::optional<std::uint32_t> BlockSizeFromEnvironment() {
    return UnchangedEnvironment::Value(ReadEnvironment);
}

} // namespace TyrQbf
