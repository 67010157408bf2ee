#include "tyr/qbf/blocksize.hpp"

#include <charconv>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <system_error>

namespace TyrQbf {

namespace {

constexpr std::uint32_t outOfRange = std::numeric_limits<std::uint32_t>::max();

/// `strtoul` of a system whose `unsigned long` has 32 bits, which is how the variable is defined.
std::uint32_t ParseUnsigned32(std::string_view text) {
    const std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
    text.remove_prefix(start == std::string_view::npos ? text.size() : start);
    const bool isNegative = !text.empty() && text.front() == '-';
    if (isNegative || (!text.empty() && text.front() == '+')) {
        text.remove_prefix(1);
    }
    std::uint32_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        return outOfRange;
    }
    return isNegative ? 0U - value : value;
}

std::optional<std::uint32_t> ReadEnvironment() {
    const char* const text = std::getenv("MEKWRITER_DEFAULT_BLOCK_SIZE");
    if (text == nullptr) {
        return std::nullopt;
    }
    const std::uint32_t value = ParseUnsigned32(text);
    return value == outOfRange ? std::nullopt : std::optional(value);
}

/// What the thread has read as long as its environment counts as unchanged.
struct Reading {
    unsigned scopes = 0;
    bool isDone = false;
    std::optional<std::uint32_t> value{};
};
thread_local Reading reading;

} // namespace

std::optional<std::uint32_t> BlockSizeFromEnvironment() {
    if (reading.scopes == 0) {
        return ReadEnvironment();
    }
    if (!reading.isDone) {
        reading.value = ReadEnvironment();
        reading.isDone = true;
    }
    return reading.value;
}

UnchangedEnvironment::UnchangedEnvironment() { ++reading.scopes; }

UnchangedEnvironment::~UnchangedEnvironment() {
    if (--reading.scopes == 0) {
        reading.isDone = false;
    }
}

} // namespace TyrQbf
