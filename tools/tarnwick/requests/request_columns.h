#pragma once

#include "print/json_writer.h"
#include "print/text_table.h"
#include "requests/condition.h"
#include "requests/request_summary.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program {

/// A column of `ls`.
struct RequestColumn {
    std::string_view name;  ///< as options and JSON name it
    std::string_view title; ///< in the table
    TextTable::Align align;
    FieldType type;
    /// The value that conditions and the order use. Views the request.
    FieldValue (*value)(RequestSummary const &request);
    /// The cell of the table, for people.
    std::string (*cell)(RequestSummary const &request);
    /// The value without loss, for CSV; empty if absent.
    std::string (*plain)(RequestSummary const &request);
    void (*write)(JsonWriter &writer, RequestSummary const &request);
};

/// All columns, in the order of the JSON lines.
std::span<RequestColumn const> request_columns();

/// Returns the column of a name. Throws `std::invalid_argument` for an unknown one.
RequestColumn const &request_column(std::string_view name);

} // namespace tarnwick::program
