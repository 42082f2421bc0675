#include "query.h"

#include "database/request_rows.h"
#include "database/result_printer.h"
#include "database/tables.h"
#include "database/user_query.h"
#include "print/output.h"
#include "print/readable_text.h"
#include "requests/whole_request.h"
#include "standard_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <unistd.h>

namespace tarnwick::program {
namespace {

/// Inserts the requests of captures.
ExitStatus fill(Database const &database, QueryOptions const &options, Masks const &masks, Output &output)
{
    RequestRows rows(database, masks);
    database.execute("BEGIN");
    auto const status = read_whole_requests(options.files, options.filter, masks.are_on(), output,
                                            [&](WholeRequest const &request) { rows.insert(request); });
    database.execute("COMMIT");
    return status;
}

} // namespace

ExitStatus query(QueryOptions const &options)
{
    Output output(STDOUT_FILENO);
    if (options.tables) {
        output.write(create_tables);
        output.flush();
        return success;
    }
    auto format = options.format;
    if (format == TableFormat::automatic)
        format = output.is_terminal() ? TableFormat::text : TableFormat::jsonl;
    Database const database({});
    // The database is dropped in any case.
    database.execute("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF");
    database.execute(create_tables);
    try {
        // A fault of the query is reported before the captures are read.
        UserQuery const statement(database, options.sql);
        auto status = fill(database, options, Masks::of(options.mask, format != TableFormat::jsonl), output);
        ResultPrinter printer(output, format, statement.columns());
        statement.run(options.timeout, [&](auto const &values) {
            if (options.max_rows && printer.rows() == *options.max_rows) {
                printer.finish();
                print_error(
                    fmt::format("tarnwick: only the first {} rows are printed (--max-rows)\n", *options.max_rows));
                status = std::max(status, limit_exceeded);
                return false;
            }
            printer.print(values);
            return true;
        });
        printer.finish();
        output.flush();
        return status;
    } catch (QueryTimeout const &) {
        output.flush();
        print_error("tarnwick: the query takes longer than --timeout\n");
        return limit_exceeded;
    } catch (QueryError const &error) {
        output.flush();
        print_error(fmt::format("tarnwick: {}\n", escaped_text(error.what())));
        return wrong_usage;
    }
}

} // namespace tarnwick::program
