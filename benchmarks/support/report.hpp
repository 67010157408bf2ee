/// @file
/// Results as Markdown, which also reads well in a terminal.
#pragma once

#include <string>
#include <vector>

namespace Bench {

/// A number with so many digits behind the point.
std::string fixed(double value, int digits);

/// A table with a heading; the first column is text, all others are numbers.
class Table {
public:
    Table(std::string heading, std::vector<std::string> columns);
    void addRow(std::vector<std::string> cells);
    void print() const;

private:
    std::string heading_;
    std::vector<std::vector<std::string>> rows_;
};

/// The figures that were set as a goal, each next to what was measured.
class Figures {
public:
    /// @param unit stands behind both numbers
    void atMost(const std::string& work, double limit, double measured, const std::string& unit);

    /// Appends one table row for each figure to a file; an empty path drops them.
    void appendTo(const std::string& path) const;

private:
    std::string rows_;
};

} // namespace Bench
