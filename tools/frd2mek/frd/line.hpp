/// @file
/// One line of a result file, whose values stand in fixed columns.
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

/// The text with _ for each character that can't be printed.
std::string printable(std::string_view text);

/// Text and number of a line. The text belongs to the `LineReader` and lasts to its next line.
///
/// Every value that is not there raises `FormatError` with `what` was expected. Values are written
/// to the last of their columns, so that a line that ends before is one that was cut off.
class Line {
public:
    Line() = default;
    Line(std::string_view text, std::uint64_t number) : text_(text), number_(number) {}

    std::string_view text() const { return text_; }
    std::uint64_t number() const { return number_; }

    bool startsWith(std::string_view key) const { return text_.substr(0, key.size()) == key; }

    /// What the line has of these columns.
    std::string_view text(Columns columns) const;

    /// The same without blanks around it, and with _ for characters that can't be printed.
    std::string name(Columns columns) const;

    /// Everything from a column on, likewise.
    std::string nameFrom(std::size_t column) const;

    std::int64_t integer(Columns columns, const char* what) const;

    /// Blank columns are 0, as Fortran reads them.
    std::int64_t integerOrZero(Columns columns, const char* what) const;
    double doubleOrZero(Columns columns, const char* what) const;

    /// A number of a node or element: 1 to 4294967295.
    std::uint32_t id(Columns columns, const char* what) const;

    float value(Columns columns, const char* what) const;

    /// Nothing but blanks may stand from this column on.
    void expectEnd(std::size_t column) const;

    /// Raises `FormatError` with what the line holds instead, in these columns or as a whole.
    [[noreturn]] void failExpecting(const std::string& what) const;
    [[noreturn]] void failExpecting(const std::string& what, Columns columns) const;

private:
    std::string_view text_{};
    std::uint64_t number_ = 0;
};

} // namespace Frd
