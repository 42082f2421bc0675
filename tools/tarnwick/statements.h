#pragma once

#include "exit_status.h"
#include "requests/statement_summary.h"
#include "requests/table_options.h"

namespace tarnwick::program {

using StatementsOptions = TableOptions<StatementSummary>;

/// Prints one line for each SQL statement of the captures. Throws `WriteError` and `BrokenPipe`.
ExitStatus statements(StatementsOptions const &options);

} // namespace tarnwick::program
