#include "print/text_table.h"

#include "print/text_width.h"

#include <algorithm>
#include <utility>

namespace tarnwick::program {

TextTable::TextTable(std::vector<Column> columns)
    : columns_(std::move(columns))
    , widths_(columns_.size())
{
    std::vector<std::string> titles;
    titles.reserve(columns_.size());
    for (auto const &column : columns_)
        titles.emplace_back(column.title);
    rows_.push_back(std::move(titles));
}

void TextTable::add(std::vector<std::string> cells)
{
    rows_.push_back(std::move(cells));
}

std::vector<std::string> TextTable::take_lines()
{
    auto const rows = std::exchange(rows_, {});
    for (auto const &row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i)
            widths_[i] = columns_[i].width > 0 ? columns_[i].width : std::max(widths_[i], text_width(row[i]));
    }
    std::vector<std::string> lines;
    lines.reserve(rows.size());
    for (auto const &row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            auto const padding = std::string(widths_[i] - std::min(widths_[i], text_width(row[i])), ' ');
            line += i == 0 ? "" : "  ";
            line += columns_[i].align == Align::right ? padding + row[i] : row[i] + padding;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        lines.push_back(std::move(line));
    }
    return lines;
}

} // namespace tarnwick::program
