#pragma once

#include "print/json_writer.h"
#include "print/text_table.h"
#include "requests/condition.h"
#include "unknown_name.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program {

/// A column of a table in which each line shows a `Row`.
template <class Row>
struct Column {
    std::string_view name;  ///< as options and JSON name it
    std::string_view title; ///< in the table
    TextTable::Align align;
    FieldType type;
    /// The value that conditions and the order use. Views the row.
    FieldValue (*value)(Row const &row);
    /// The cell of the table, for people.
    std::string (*cell)(Row const &row);
    /// The value without loss, for CSV; empty if absent.
    std::string (*plain)(Row const &row);
    void (*write)(JsonWriter &writer, Row const &row);
    std::size_t usual_width = 0; ///< of cells that are usually wider than the title, for lines that are printed alone
    data::Sense sense = data::Sense::plain; ///< in JSON lines
};

/// Returns the column of a name. Throws `std::invalid_argument` for an unknown one.
template <class Row>
Column<Row> const &column_named(std::span<Column<Row> const> columns, std::string_view name)
{
    auto const found = std::ranges::find(columns, name, &Column<Row>::name);
    if (found != columns.end())
        return *found;
    std::vector<std::string> names;
    names.reserve(columns.size());
    for (auto const &column : columns)
        names.emplace_back(column.name);
    throw unknown_name("no column is named", name, names, IfNoneIsNear::list);
}

/// Writes the cells of a row as members of an object.
template <class Row>
void write_cells(JsonWriter &writer, Row const &row, std::span<Column<Row> const> columns)
{
    for (auto const &column : columns) {
        writer.field(column.name);
        column.write(writer, row);
    }
}

/// Writes a row as an object.
template <class Row>
void write_row(JsonWriter &writer, Row const &row, std::span<Column<Row> const> columns)
{
    writer.begin_record({});
    write_cells(writer, row, columns);
    writer.end_record();
}

/// A column of a count or an id that is never absent.
template <class Row, auto get>
constexpr Column<Row> count_column(std::string_view name, std::string_view title, std::size_t usual_width = 0,
                                   data::Sense sense = data::Sense::plain)
{
    return {name,
            title,
            TextTable::Align::right,
            FieldType::number,
            [](Row const &row) -> FieldValue { return static_cast<long double>(get(row)); },
            [](Row const &row) { return fmt::format("{}", get(row)); },
            [](Row const &row) { return fmt::format("{}", get(row)); },
            [](JsonWriter &writer, Row const &row) { writer.integer(get(row)); },
            usual_width,
            sense};
}

} // namespace tarnwick::program
