#pragma once

#include "print/masks.h"
#include "print/readable_writer.h"

#include <tarnwick/data/glimmet/sql_connections.h>
#include <tarnwick/data/glimmet/sql_queries.h>
#include <tarnwick/data/glimmet/sql_transactions.h>

namespace tarnwick::program {

/// Writes SQL activity as tables. A query has its call site, the first call of its stack trace with a file, instead of
/// the trace. A last table counts the statements that were sent more than once.
void write_readable(ReadableWriter &writer, data::glimmet::SqlConnections const &record, Masks const &masks = {});
void write_readable(ReadableWriter &writer, data::glimmet::SqlTransactions const &record, Masks const &masks = {});
void write_readable(ReadableWriter &writer, data::glimmet::detail::SqlQueries const &record, Masks const &masks = {});

} // namespace tarnwick::program
