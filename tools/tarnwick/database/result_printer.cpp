#include "database/result_printer.h"

#include "print/csv.h"
#include "print/readable_text.h"
#include "print/terminal.h"
#include "print/text_width.h"

#include <tarnwick/data/double_text.h>

#include <fmt/format.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <utility>
#include <variant>

namespace tarnwick::program {
namespace {

/// The text of a value without loss, for CSV. Bytes are unchanged.
struct PlainCell {
    std::string operator()(std::monostate /*value*/) const { return {}; }
    std::string operator()(std::int64_t value) const { return fmt::to_string(value); }
    std::string operator()(double value) const { return fmt::to_string(value); }
    std::string operator()(std::string_view value) const { return std::string(value); }
    std::string operator()(Blob value) const { return std::string(value.bytes); }
};

std::string shown_cell(ResultValue const &value)
{
    return std::holds_alternative<std::monostate>(value) ? "-" : escaped_text(std::visit(PlainCell(), value));
}

} // namespace

ResultPrinter::ResultPrinter(Output &output, TableFormat format, std::vector<std::string> columns)
    : output_(output)
    , format_(format)
    , columns_(std::move(columns))
{
    if (format_ == TableFormat::csv)
        print_csv(columns_);
    if (format_ == TableFormat::text)
        width_ = terminal_width(output_.descriptor());
}

void ResultPrinter::print(std::vector<ResultValue> const &values)
{
    if (format_ == TableFormat::text && !table_)
        start_table(values);
    ++rows_;
    if (format_ == TableFormat::jsonl) {
        print_json(values);
        return;
    }
    std::vector<std::string> cells;
    cells.reserve(values.size());
    for (auto const &value : values)
        cells.push_back(table_ ? shown_cell(value) : std::visit(PlainCell(), value));
    if (!table_) {
        print_csv(cells);
        return;
    }
    table_->add(std::move(cells));
    if (rows_ % rows_of_one_width == 0)
        finish();
}

void ResultPrinter::finish()
{
    if (format_ != TableFormat::text)
        return;
    if (!table_)
        start_table({});
    for (auto const &line : table_->take_lines()) {
        output_.write(width_ ? cut_lines(line, *width_) : line);
        output_.write("\n");
    }
}

void ResultPrinter::start_table(std::vector<ResultValue> const &first_row)
{
    std::vector<TextTable::Column> titles;
    titles.reserve(columns_.size());
    for (auto &column : columns_) {
        auto const i = titles.size();
        bool const is_number = i < first_row.size() && (std::holds_alternative<std::int64_t>(first_row[i]) ||
                                                        std::holds_alternative<double>(first_row[i]));
        column = escaped_text(column);
        if (is_number)
            titles.push_back({column, TextTable::Align::right});
        else
            titles.push_back({column, TextTable::Align::left, 0, TextTable::narrowest_text});
    }
    table_ = std::make_unique<TextTable>(std::move(titles), width_);
}

void ResultPrinter::print_json(std::vector<ResultValue> const &values)
{
    json_.begin_record({});
    for (std::size_t i = 0; i < values.size(); ++i) {
        json_.member(columns_[i]);
        std::visit(
            [&]<class Value>(Value const &value) {
                if constexpr (std::is_same_v<Value, std::monostate>)
                    json_.absent();
                else if constexpr (std::is_same_v<Value, std::int64_t>)
                    json_.integer(value);
                else if constexpr (std::is_same_v<Value, double>)
                    json_.real(value);
                else if constexpr (std::is_same_v<Value, Blob>)
                    json_.bytes(value.bytes);
                else
                    json_.bytes(value);
            },
            values[i]);
    }
    json_.end_record();
    output_.write(json_.line());
    output_.write("\n");
    json_.clear();
}

void ResultPrinter::print_csv(std::vector<std::string> const &cells)
{
    std::string line;
    std::string_view separator;
    for (auto const &cell : cells) {
        line += separator;
        line += csv_cell(cell);
        separator = ",";
    }
    output_.write(output_.is_terminal() ? escaped_text(line) : line);
    output_.write("\r\n");
}

} // namespace tarnwick::program
