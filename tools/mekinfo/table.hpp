/// @file
/// Aligned tables of text.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace MekInfo {

/// Columns are as wide as their widest cell. Cells are UTF-8 without control characters.
class Table {
public:
    enum class Align { Left, Right };
    struct Column {
        std::string title;
        Align align = Align::Left;
    };

    explicit Table(std::vector<Column> columns);

    /// @param cells one for each column
    void add(std::vector<std::string> cells);

    void print(std::ostream& out) const;

private:
    std::vector<Align> aligns_;
    std::vector<std::vector<std::string>> rows_; ///< the titles first
};

} // namespace MekInfo
