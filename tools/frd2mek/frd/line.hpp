/// @file
/// One line of a result file, which has its values in fixed columns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Frd {

/// Columns of a line, counted from 0.
struct Columns {
    std::size_t first;
    std::size_t width;

    std::size_t end() const { return first + width; }
};

/// `text` with _ for each character that is not printable.
std::string printable(std::string_view text);

/// Content and number of a line. The content belongs to the `InputReader` and is valid until it
/// reads the next line.
///
/// A missing or invalid value raises `FormatError`; `what` is the expectation in its message. The
/// solver fills every column of a value, so a line that ends within these columns is truncated.
class Line {
public:
    Line() = default;
    Line(std::string_view content, std::uint64_t number) : content_(content), number_(number) {}

    std::string_view content() const { return content_; }
    std::uint64_t number() const { return number_; }

    bool startsWith(std::string_view key) const { return content_.substr(0, key.size()) == key; }

    /// The content of these columns, as far as the line reaches.
    std::string_view field(Columns columns) const;

    /// `field` without surrounding blanks, and with _ for characters that are not printable.
    std::string name(Columns columns) const;

    /// `name` of the rest of the line, starting at a column.
    std::string nameFrom(std::size_t column) const;

    std::int64_t integer(Columns columns, const char* what) const;

    /// Blank columns are 0, as in Fortran.
    std::int64_t integerOrZero(Columns columns, const char* what) const;
    double doubleOrZero(Columns columns, const char* what) const;

    /// The number of a node or element: 1 to 4294967295.
    std::uint32_t id(Columns columns, const char* what) const;

    float value(Columns columns, const char* what) const;

    /// Raises `FormatError` unless the rest of the line, starting at this column, is blank.
    void expectEnd(std::size_t column) const;

    /// Raises `FormatError` with the expectation and the content of the line or of these columns.
    [[noreturn]] void failExpecting(const std::string& what) const;
    [[noreturn]] void failExpecting(const std::string& what, Columns columns) const;

private:
    std::string_view content_{};
    std::uint64_t number_ = 0;
};

} // namespace Frd
