#include "mekinfo/table.hpp"

#include <algorithm>

namespace MekInfo {

namespace {

/// Number of characters; continuation bytes of UTF-8 do not count.
std::size_t widthOf(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char byte) { return (byte & '\xC0') != '\x80'; }));
}

void printRow(std::ostream& out, const std::vector<Column>& columns,
              const std::vector<std::size_t>& widths, const Row& row) {
    constexpr const char* gap = "  ";
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const std::string padding(widths[i] - widthOf(row[i]), ' ');
        out << (i == 0 ? "" : gap);
        if (columns[i].align == Align::Right) {
            out << padding << row[i];
        } else {
            out << row[i] << (i + 1 < columns.size() ? padding : ""); // no spaces at the end
        }
    }
    out << '\n';
}

} // namespace

void printTable(std::ostream& out, const std::vector<Column>& columns, const Rows& rows) {
    Row titles;
    for (const Column& column : columns) {
        titles.push_back(column.title);
    }
    std::vector<std::size_t> widths(columns.size());
    const auto widen = [&widths](const Row& row) {
        for (std::size_t i = 0; i < widths.size(); ++i) {
            widths[i] = std::max(widths[i], widthOf(row[i]));
        }
    };
    widen(titles);
    rows(widen);
    printRow(out, columns, widths, titles);
    rows([&](const Row& row) { printRow(out, columns, widths, row); });
}

} // namespace MekInfo
