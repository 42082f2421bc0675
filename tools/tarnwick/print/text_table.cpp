#include "print/text_table.h"

#include "print/text_width.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <utility>

namespace tarnwick::program {
namespace {

constexpr std::string_view column_gap = "  ";

} // namespace

TextTable::TextTable(std::vector<Column> columns, std::optional<std::size_t> max_width)
    : columns_(std::move(columns))
    , max_width_(max_width)
    , widths_(columns_.size())
    , is_left_out_(columns_.size())
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
    if (std::exchange(has_titles_, false))
        leave_out_columns();
    auto const widths = fitting_widths();
    std::vector<std::string> lines;
    lines.reserve(rows.size());
    for (auto const &row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (is_left_out_[i])
                continue;
            auto const cut = widths[i] < widths_[i] ? cut_middle(row[i], widths[i]) : std::string();
            std::string_view const cell = widths[i] < widths_[i] ? cut : row[i];
            auto const padding = widths[i] - std::min(widths[i], text_width(cell));
            bool const is_right = columns_[i].align == Align::right;
            line += line.empty() ? "" : column_gap;
            line.append(is_right ? padding : 0, ' ').append(cell).append(is_right ? 0 : padding, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        lines.push_back(std::move(line));
    }
    return lines;
}

std::optional<std::string> TextTable::left_out_text() const
{
    std::vector<std::string_view> titles;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (is_left_out_[i] && !columns_[i].title.empty())
            titles.push_back(columns_[i].title);
    }
    if (titles.empty())
        return std::nullopt;
    return fmt::format("columns left out: {}", fmt::join(titles, ", "));
}

template <class Width>
std::size_t TextTable::line_width(Width const &width) const
{
    std::size_t sum = 0;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (!is_left_out_[i])
            sum += (sum == 0 ? 0 : column_gap.size()) + width(i);
    }
    return sum;
}

void TextTable::leave_out_columns()
{
    if (!max_width_)
        return;
    auto const narrowest = [this](std::size_t i) {
        return columns_[i].narrowest > 0 ? std::min(widths_[i], columns_[i].narrowest) : widths_[i];
    };
    auto const last = std::ranges::max(columns_, {}, &Column::left_out).left_out;
    for (std::size_t place = 1; place <= last && line_width(narrowest) > *max_width_; ++place) {
        for (std::size_t i = 0; i < columns_.size(); ++i)
            is_left_out_[i] = is_left_out_[i] || columns_[i].left_out == place;
    }
}

std::vector<std::size_t> TextTable::fitting_widths() const
{
    auto widths = widths_;
    if (!max_width_)
        return widths;
    auto const width = line_width([&](std::size_t i) { return widths[i]; });
    for (auto excess = width - std::min(width, *max_width_); excess > 0; --excess) {
        std::optional<std::size_t> widest;
        for (std::size_t i = 0; i < widths.size(); ++i) {
            bool const can_shrink = columns_[i].narrowest > 0 && widths[i] > columns_[i].narrowest && !is_left_out_[i];
            if (can_shrink && (!widest || widths[i] > widths[*widest]))
                widest = i;
        }
        if (!widest)
            break;
        --widths[*widest];
    }
    return widths;
}

} // namespace tarnwick::program
