#pragma once

#include "print/masks.h"
#include "requests/column.h"
#include "requests/condition.h"
#include "requests/report_choice.h"
#include "requests/sorted_rows.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tarnwick::program {

enum class TableFormat : std::uint8_t { automatic, text, jsonl, csv };

/// The options of a command that prints a table.
template <class Row>
struct TableOptions {
    std::vector<std::string> files{"-"}; ///< `-` is standard input
    TableFormat format = TableFormat::automatic;
    MaskOptions mask;
    JsonStyle json_style;
    std::vector<Column<Row> const *> columns; ///< all of them, or those for people, if empty
    ReportChoice reports;
    std::vector<Condition> conditions; ///< on columns, with their types
    RowOrder<Row> order;               ///< without a column, the command's own order
    bool follow = false;               ///< continue to read as the file grows, and print each row at once; for one file
};

/// Returns whether a row fulfils all conditions.
template <class Row>
bool fulfils(Row const &row, std::vector<Condition> const &conditions, std::span<Column<Row> const> columns)
{
    return std::ranges::all_of(conditions, [&](Condition const &condition) {
        return condition.holds(column_named(columns, condition.field()).value(row));
    });
}

} // namespace tarnwick::program
