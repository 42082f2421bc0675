#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program {

/// Table of text below a line of titles. Each column is as wide as its widest cell, or has a fixed width. A cell that is
/// wider than that moves the rest of its line.
class TextTable {
public:
    enum class Align { left, right };
    struct Column {
        std::string_view title;
        Align align = Align::right;
        std::size_t width = 0; ///< 0: that of the widest cell
    };

    explicit TextTable(std::vector<Column> columns);

    /// Adds a row. REQUIRES: one cell per column.
    void add(std::vector<std::string> cells);

    /// Returns the lines of the rows that were added, and drops the rows. The first call starts with the titles. Columns
    /// stay at least as wide as before.
    [[nodiscard]] std::vector<std::string> take_lines();

private:
    std::vector<Column> columns_;
    std::vector<std::size_t> widths_;
    std::vector<std::vector<std::string>> rows_;
};

} // namespace tarnwick::program
