#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program {

/// Table of text below a line of titles. Each column is as wide as its widest cell, or has a fixed width. A cell that is
/// wider than that moves the rest of its line. If lines do not fit into a width, long texts lose their middle, and
/// columns are left out.
class TextTable {
public:
    enum class Align { left, right };
    static constexpr std::size_t narrowest_text = 10; ///< that usually still shows what a text is
    struct Column {
        std::string_view title;
        Align align = Align::right;
        std::size_t width = 0;     ///< 0: that of the widest cell
        std::size_t narrowest = 0; ///< the width down to which texts lose their middle; 0: texts are not cut
        std::size_t left_out = 0;  ///< the place in the order in which columns are left out, from 1; 0: never
    };

    /// `max_width`: of lines. Without it, lines have any width.
    explicit TextTable(std::vector<Column> columns, std::optional<std::size_t> max_width = {});

    /// Adds a row. REQUIRES: one cell per column.
    void add(std::vector<std::string> cells);

    /// Returns the lines of the rows that were added, and drops the rows. The first call starts with the titles. Columns
    /// stay at least as wide as before, unless the table is too wide.
    [[nodiscard]] std::vector<std::string> take_lines();

    /// Returns a line that names the columns with titles that are left out; nothing if there are none.
    [[nodiscard]] std::optional<std::string> left_out_text() const;

private:
    [[nodiscard]] std::vector<std::size_t> fitting_widths() const;
    void leave_out_columns();
    template <class Width>
    [[nodiscard]] std::size_t line_width(Width const &width) const;

    std::vector<Column> columns_;
    std::optional<std::size_t> max_width_;
    std::vector<std::size_t> widths_; ///< of all rows
    std::vector<bool> is_left_out_;
    bool has_titles_ = true; ///< next
    std::vector<std::vector<std::string>> rows_;
};

} // namespace tarnwick::program
