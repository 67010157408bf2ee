/// @file
/// Results as Markdown that is also readable in a terminal.
#pragma once

#include <string>
#include <vector>

namespace Bench {

/// A number with `digits` digits after the decimal point.
std::string fixed(double value, int digits);

/// A table with a heading. The first column is left-aligned, the others right-aligned.
class Table {
public:
    Table(std::string heading, std::vector<std::string> columns);
    void addRow(std::vector<std::string> cells);
    void print() const;

private:
    std::string heading_;
    std::vector<std::vector<std::string>> rows_;
};

/// Single figures that summarise the tables.
class Figures {
public:
    /// @param unit appended to the number
    /// @param target what the value should be, for example "at least 2"
    void add(const std::string& title, double value, const std::string& unit,
             const std::string& target = "");

    /// Appends one table row per figure to a file. Does nothing if `path` is empty.
    void appendTo(const std::string& path) const;

private:
    std::string rows_;
};

} // namespace Bench
