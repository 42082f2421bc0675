#pragma once

#include "exit_status.h"
#include "requests/request_summary.h"
#include "requests/table_options.h"

namespace tarnwick::program {

using LsOptions = TableOptions<RequestSummary>;

/// Prints one line for each request of the captures. Throws `WriteError` and `BrokenPipe`.
ExitStatus ls(LsOptions const &options);

} // namespace tarnwick::program
