#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program {

/// Table of text below a line of titles. Each column is as wide as its widest cell.
class TextTable {
public:
    enum class Align { left, right };
    struct Column {
        std::string_view title;
        Align align = Align::right;
    };

    explicit TextTable(std::vector<Column> columns);

    /// Adds a row. REQUIRES: one cell per column.
    void add(std::vector<std::string> cells);

    /// Returns the lines, starting with the titles.
    [[nodiscard]] std::vector<std::string> lines() const;

private:
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

} // namespace tarnwick::program
