#pragma once

#include "print/readable_writer.h"

#include <tarnwick/data/glimmet/sql_connections.h>
#include <tarnwick/data/glimmet/sql_queries.h>
#include <tarnwick/data/glimmet/sql_transactions.h>

namespace tarnwick::program {

/// SQL activity as tables. A query stands with where it was issued, the first place of its stack trace, instead of the whole
/// trace; statements that were sent more than once are counted below.
void write_readable(ReadableWriter &writer, data::glimmet::SqlConnections const &record);
void write_readable(ReadableWriter &writer, data::glimmet::SqlTransactions const &record);
void write_readable(ReadableWriter &writer, data::glimmet::detail::SqlQueries const &record);

} // namespace tarnwick::program
