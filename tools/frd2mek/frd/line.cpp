#include "frd/line.hpp"

#include "frd/formaterror.hpp"
#include "frd/number.hpp"

#include <algorithm>
#include <limits>

namespace Frd {

namespace {

bool isPrintable(char character) {
    return static_cast<unsigned char>(character) >= 0x20 && character != 0x7F;
}

bool isBlank(std::string_view text) {
    return text.find_first_not_of(' ') == std::string_view::npos;
}

/// In a message: what is damaged need not be UTF-8.
std::string quoted(std::string_view text) {
    constexpr std::size_t longest = 80;
    std::string shown = printable(text.substr(0, longest));
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return static_cast<unsigned char>(c) > 0x7F; },
        '_');
    return "\"" + shown + (text.size() > longest ? "..." : "") + "\"";
}

} // namespace

std::string printable(std::string_view text) {
    std::string result(text);
    std::replace_if(
        result.begin(), result.end(), [](char c) { return !isPrintable(c); }, '_');
    return result;
}

std::string_view Line::field(Columns columns) const {
    return content_.substr(std::min(columns.first, content_.size()), columns.width);
}

std::string Line::name(Columns columns) const {
    const std::string_view found = field(columns);
    const std::size_t first = found.find_first_not_of(' ');
    if (first == std::string_view::npos) {
        return {};
    }
    return printable(found.substr(first, found.find_last_not_of(' ') - first + 1));
}

std::string Line::nameFrom(std::size_t column) const { return name({column, content_.size()}); }

std::int64_t Line::integer(Columns columns, const char* what) const {
    const std::string_view found = field(columns);
    const auto value = parseInteger(found);
    if (found.size() < columns.width || !value) {
        failExpecting(what, columns);
    }
    return *value;
}

std::int64_t Line::integerOrZero(Columns columns, const char* what) const {
    return isBlank(field(columns)) ? 0 : integer(columns, what);
}

double Line::doubleOrZero(Columns columns, const char* what) const {
    const std::string_view found = field(columns);
    if (isBlank(found)) {
        return 0;
    }
    const auto value = parseDouble(found);
    if (found.size() < columns.width || !value) {
        failExpecting(what, columns);
    }
    return *value;
}

std::uint32_t Line::id(Columns columns, const char* what) const {
    const std::int64_t number = integer(columns, what);
    if (number < 1 || number > std::numeric_limits<std::uint32_t>::max()) {
        failExpecting(what, columns);
    }
    return static_cast<std::uint32_t>(number);
}

float Line::value(Columns columns, const char* what) const {
    const std::string_view found = field(columns);
    const auto value = parseFloat(found);
    if (found.size() < columns.width || !value) {
        failExpecting(what, columns);
    }
    return *value;
}

void Line::expectEnd(std::size_t column) const {
    if (column < content_.size() && !isBlank(content_.substr(column))) {
        failExpecting("end of the line", {column, content_.size()});
    }
}

void Line::failExpecting(const std::string& what) const {
    throw FormatError(number_, "expected " + what + ", found " + quoted(content_));
}

void Line::failExpecting(const std::string& what, Columns columns) const {
    const std::string_view found = field(columns);
    const std::string location = " from column " + std::to_string(columns.first + 1) + " on";
    throw FormatError(number_, "expected " + what + location + ", found " +
                                   (found.empty() ? "the end of the line" : quoted(found)));
}

} // namespace Frd
