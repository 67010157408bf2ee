#include "frd/number.hpp"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <system_error>

namespace Frd {

namespace {

std::string_view withoutBlanks(std::string_view field) {
    const std::size_t first = field.find_first_not_of(' ');
    if (first == std::string_view::npos) {
        return {};
    }
    return field.substr(first, field.find_last_not_of(' ') - first + 1);
}

/// `std::from_chars` does not accept a plus sign.
std::string_view withoutPlus(std::string_view field) {
    const bool isSigned = field.size() > 1 && field[0] == '+' && field[1] != '-' && field[1] != '+';
    return isSigned ? field.substr(1) : field;
}

/// The same number with its exponent after an E: "1.5D+03" and "1.5+03" become "1.5E+03".
std::string withExponentLetter(std::string_view field) {
    std::string result;
    for (const char character : field) {
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

/// Zero or infinity for a number outside the range of the type.
template <class T>
T limitOf(std::string_view field) {
    const std::size_t exponent = field.find_first_of("Ee");
    const bool isSmall = exponent != std::string_view::npos && exponent + 1 < field.size() &&
                         field[exponent + 1] == '-';
    const T size = isSmall ? T(0) : std::numeric_limits<T>::infinity();
    return field.front() == '-' ? -size : size;
}

template <class T>
std::optional<T> parsePlain(std::string_view field) {
    T value{};
    const char* const end = field.data() + field.size();
    const auto [stop, error] = std::from_chars(field.data(), end, value);
    if (stop != end || error == std::errc::invalid_argument) {
        return std::nullopt;
    }
    if (error == std::errc::result_out_of_range) {
        return limitOf<T>(field);
    }
    return std::isnan(value) ? std::numeric_limits<T>::quiet_NaN() : value;
}

template <class T>
std::optional<T> parseReal(std::string_view field) {
    const std::string_view number = withoutPlus(withoutBlanks(field));
    if (const std::optional<T> value = parsePlain<T>(number)) {
        return value;
    }
    return parsePlain<T>(withExponentLetter(number));
}

} // namespace

std::optional<std::int64_t> parseInteger(std::string_view field) {
    const std::string_view number = withoutPlus(withoutBlanks(field));
    std::int64_t value = 0;
    const char* const end = number.data() + number.size();
    const auto [stop, error] = std::from_chars(number.data(), end, value);
    return stop == end && error == std::errc() ? std::optional(value) : std::nullopt;
}

std::optional<float> parseFloat(std::string_view field) { return parseReal<float>(field); }

std::optional<double> parseDouble(std::string_view field) { return parseReal<double>(field); }

} // namespace Frd
