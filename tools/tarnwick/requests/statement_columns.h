#pragma once

#include "requests/column.h"
#include "requests/statement_summary.h"

#include <span>

namespace tarnwick::program {

/// All columns of `statements`, in the order of the JSON lines.
std::span<Column<StatementSummary> const> statement_columns();

/// Masks the parts of a statement and of its call site that are masked.
void mask(StatementSummary &summary);

} // namespace tarnwick::program
