#include "mekinfo/table.hpp"

#include <algorithm>
#include <utility>

namespace MekInfo {

namespace {

constexpr const char* gap = "  ";

/// Number of characters; continuation bytes of UTF-8 do not count.
std::size_t widthOf(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char byte) { return (byte & '\xC0') != '\x80'; }));
}

} // namespace

Table::Table(std::vector<Column> columns) : rows_(1) {
    for (Column& column : columns) {
        aligns_.push_back(column.align);
        rows_.front().push_back(std::move(column.title));
    }
}

void Table::add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }

void Table::print(std::ostream& out) const {
    std::vector<std::size_t> widths(aligns_.size());
    for (const auto& row : rows_) {
        for (std::size_t i = 0; i < widths.size(); ++i) {
            widths[i] = std::max(widths[i], widthOf(row[i]));
        }
    }
    for (const auto& row : rows_) {
        for (std::size_t i = 0; i < widths.size(); ++i) {
            const std::string padding(widths[i] - widthOf(row[i]), ' ');
            out << (i == 0 ? "" : gap);
            if (aligns_[i] == Align::Right) {
                out << padding << row[i];
            } else {
                out << row[i] << (i + 1 < widths.size() ? padding : ""); // no spaces at the end
            }
        }
        out << '\n';
    }
}

} // namespace MekInfo
