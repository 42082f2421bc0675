#pragma once

#include "print/csv.h"
#include "print/json_writer.h"
#include "print/masks.h"
#include "print/output.h"
#include "print/readable_text.h"
#include "print/terminal.h"
#include "print/text_table.h"
#include "print/text_width.h"
#include "requests/column.h"
#include "requests/table_options.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tarnwick::program {

/// Prints rows as a table for people, as JSON lines or as CSV. `mask(row)` masks a row.
template <class Row>
class TablePrinter {
public:
    /// `all`: the columns of JSON and CSV. `for_people`: the names of those of the table. `left_out`: the names of those
    /// that a narrow terminal leaves out, in this order.
    TablePrinter(Output &output, TableOptions<Row> const &options, std::span<Column<Row> const> all,
                 std::span<std::string_view const> for_people, std::span<std::string_view const> left_out)
        : output_(output)
        , format_(options.format)
        , json_(options.json_style)
    {
        if (format_ == TableFormat::automatic)
            format_ = output.is_terminal() ? TableFormat::text : TableFormat::jsonl;
        masks_ = Masks::of(options.mask, format_ != TableFormat::jsonl);
        columns_ = options.columns;
        if (columns_.empty() && format_ == TableFormat::text) {
            for (auto const name : for_people)
                columns_.push_back(&column_named(all, name));
        } else if (columns_.empty()) {
            for (auto const &column : all)
                columns_.push_back(&column);
        }
        if (format_ == TableFormat::csv)
            print_csv([](Column<Row> const &column) { return std::string(column.name); });
        if (format_ == TableFormat::text) {
            width_ = terminal_width(STDOUT_FILENO);
            start_table(options.follow, options.columns.empty() ? left_out : std::span<std::string_view const>());
        }
    }

    /// Those of the rows, for the records that can contain secrets.
    [[nodiscard]] Masks const &masks() const { return masks_; }

    void print(Row row)
    {
        if (masks_.are_on())
            mask(row);
        switch (format_) {
        case TableFormat::jsonl:
            print_json(row);
            break;
        case TableFormat::csv:
            print_csv([&](Column<Row> const &column) { return column.plain(row); });
            break;
        default:
            add_row(row);
        }
    }

    /// Prints what is kept for the width of columns.
    void finish()
    {
        if (format_ != TableFormat::text)
            return;
        print_table();
        if (auto const text = table_.left_out_text(); text && !std::exchange(has_left_out_text_, true))
            output_.write(*text + '\n');
    }

private:
    static constexpr std::size_t max_rows = 1000; ///< that share the width of their columns

    /// `has_fixed_widths`: because lines are printed one by one.
    void start_table(bool has_fixed_widths, std::span<std::string_view const> left_out)
    {
        std::vector<TextTable::Column> titles;
        titles.reserve(columns_.size());
        for (auto const *column : columns_) {
            auto const place = std::ranges::find(left_out, column->name);
            titles.push_back({column->title, column->align,
                              has_fixed_widths ? std::max(column->usual_width, text_width(column->title)) : 0,
                              column->type == FieldType::text ? TextTable::narrowest_text : 0,
                              place == left_out.end() ? 0 : static_cast<std::size_t>(place - left_out.begin()) + 1});
        }
        table_ = TextTable(std::move(titles), width_);
    }

    void print_json(Row const &row)
    {
        json_.begin_record({});
        for (auto const *column : columns_) {
            json_.field(column->name, column->sense);
            column->write(json_, row);
        }
        json_.end_record();
        output_.write(json_.line());
        output_.write("\n");
        json_.clear();
    }

    template <class Cell>
    void print_csv(Cell const &cell)
    {
        std::string line;
        std::string_view separator;
        for (auto const *column : columns_) {
            line += separator;
            line += csv_cell(cell(*column));
            separator = ",";
        }
        output_.write(output_.is_terminal() ? escaped_text(line) : line);
        output_.write("\r\n");
    }

    void add_row(Row const &row)
    {
        std::vector<std::string> cells;
        cells.reserve(columns_.size());
        for (auto const *column : columns_)
            cells.push_back(column->cell(row));
        table_.add(std::move(cells));
        if (++rows_ == max_rows)
            print_table();
    }

    void print_table()
    {
        rows_ = 0;
        for (auto const &line : table_.take_lines()) {
            output_.write(width_ ? cut_lines(line, *width_) : line);
            output_.write("\n");
        }
    }

    Output &output_;
    TableFormat format_;
    Masks masks_;
    std::vector<Column<Row> const *> columns_;
    std::optional<std::size_t> width_; ///< of the terminal
    TextTable table_{std::vector<TextTable::Column>()};
    std::size_t rows_ = 0;           ///< in the table
    bool has_left_out_text_ = false; ///< printed
    JsonWriter json_;
};

} // namespace tarnwick::program
