#include "support/report.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <utility>

namespace Bench {

std::string fixed(double value, int digits) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", digits, value);
    return text.data();
}

namespace {

/// Prints the line below the column names.
void printRule(const std::vector<int>& widths) {
    for (std::size_t column = 0; column < widths.size(); ++column) {
        const std::string line(static_cast<std::size_t>(widths[column]), '-');
        std::printf("| %s%s", line.c_str(), column == 0 ? " " : ":");
    }
    std::printf("|\n");
}

} // namespace

Table::Table(std::string heading, std::vector<std::string> columns)
    : heading_(std::move(heading)), rows_{std::move(columns)} {}

void Table::addRow(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }

void Table::print() const {
    std::vector<int> widths;
    for (std::size_t column = 0; column < rows_.front().size(); ++column) {
        std::size_t widest = 3;
        for (const std::vector<std::string>& row : rows_) {
            widest = std::max(widest, row[column].size());
        }
        widths.push_back(static_cast<int>(widest));
    }
    std::printf("### %s\n\n", heading_.c_str());
    for (std::size_t row = 0; row < rows_.size(); ++row) {
        for (std::size_t column = 0; column < widths.size(); ++column) {
            const int width = column == 0 ? -widths[column] : widths[column];
            std::printf("| %*s ", width, rows_[row][column].c_str());
        }
        std::printf("|\n");
        if (row == 0) {
            printRule(widths);
        }
    }
    std::printf("\n");
    std::fflush(stdout);
}

void Figures::add(const std::string& title, double value, const std::string& unit,
                  const std::string& target) {
    const int digits = value < 2 ? 3 : value < 100 ? 2 : 0;
    rows_ += "| " + title + " | " + fixed(value, digits) + unit + " | " + target + " |\n";
}

void Figures::appendTo(const std::string& path) const {
    if (!path.empty()) {
        std::ofstream(path, std::ios::app) << rows_;
    }
}

} // namespace Bench
