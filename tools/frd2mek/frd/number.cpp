#include "frd/number.hpp"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <system_error>

namespace Frd {

namespace {

std::string_view withoutBlanks(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

/// `std::from_chars` takes no plus sign.
std::string_view withoutPlus(std::string_view text) {
    const bool isSigned = text.size() > 1 && text[0] == '+' && text[1] != '-' && text[1] != '+';
    return isSigned ? text.substr(1) : text;
}

/// The same number with its exponent after an E: "1.5D+03" and "1.5+03" become "1.5E+03".
std::string withExponentLetter(std::string_view text) {
    std::string result;
    for (const char character : text) {
        const bool isSign = character == '+' || character == '-';
        if (character == 'D' || character == 'd') {
            result += 'E';
        } else if (isSign && !result.empty() && result.back() != 'E' && result.back() != 'e') {
            result += 'E';
            result += character;
        } else {
            result += character;
        }
    }
    return result;
}

/// Where a number ends up that the type can't hold.
template <class T>
T limitOf(std::string_view text) {
    const std::size_t exponent = text.find_first_of("Ee");
    const bool isSmall = exponent != std::string_view::npos && exponent + 1 < text.size() &&
                         text[exponent + 1] == '-';
    const T size = isSmall ? T(0) : std::numeric_limits<T>::infinity();
    return text.front() == '-' ? -size : size;
}

template <class T>
std::optional<T> parsePlain(std::string_view text) {
    T value{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (stop != end || error == std::errc::invalid_argument) {
        return std::nullopt;
    }
    if (error == std::errc::result_out_of_range) {
        return limitOf<T>(text);
    }
    return std::isnan(value) ? std::numeric_limits<T>::quiet_NaN() : value;
}

template <class T>
std::optional<T> parseReal(std::string_view text) {
    const std::string_view number = withoutPlus(withoutBlanks(text));
    if (const std::optional<T> value = parsePlain<T>(number)) {
        return value;
    }
    return parsePlain<T>(withExponentLetter(number));
}

} // namespace

std::optional<std::int64_t> parseInteger(std::string_view text) {
    const std::string_view number = withoutPlus(withoutBlanks(text));
    std::int64_t value = 0;
    const char* const end = number.data() + number.size();
    const auto [stop, error] = std::from_chars(number.data(), end, value);
    return stop == end && error == std::errc() ? std::optional(value) : std::nullopt;
}

std::optional<float> parseFloat(std::string_view text) { return parseReal<float>(text); }

std::optional<double> parseDouble(std::string_view text) { return parseReal<double>(text); }

} // namespace Frd
