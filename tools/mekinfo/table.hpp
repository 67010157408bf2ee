/// @file
/// Aligned tables of text.
#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace MekInfo {

enum class Align { Left, Right };

struct Column {
    std::string title;
    Align align = Align::Left;
};

using Row = std::vector<std::string>;

/// Calls its argument with each row of a table.
using Rows = std::function<void(const std::function<void(const Row&)>&)>;

/// Prints titles and rows. Columns are as wide as their widest cell. Cells are UTF-8 without
/// control characters.
/// @param rows is called twice, first for the widths, so that no table is in memory
void printTable(std::ostream& out, const std::vector<Column>& columns, const Rows& rows);

} // namespace MekInfo
