#pragma once

#include "print/masks.h"
#include "requests/column.h"
#include "requests/request_summary.h"

#include <span>
#include <string_view>

namespace tarnwick::program {

/// A column of `ls`.
using RequestColumn = Column<RequestSummary>;

/// All columns, in the order of the JSON lines.
std::span<RequestColumn const> request_columns();

/// Returns the column of a name. Throws `std::invalid_argument` for an unknown one.
RequestColumn const &request_column(std::string_view name);

/// Masks the texts of the start with the secrets of the chosen request.
void mask_start(RequestSummary &request, Masks const &masks);

} // namespace tarnwick::program
