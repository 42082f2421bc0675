#pragma once

#include "print/masks.h"
#include "requests/column.h"
#include "requests/statement_summary.h"

#include <span>

namespace tarnwick::program {

/// All columns of `statements`, in the order of the JSON lines.
std::span<Column<StatementSummary> const> statement_columns();

/// Masks a statement and its call site.
void mask(StatementSummary &summary, Masks const &masks);

} // namespace tarnwick::program
