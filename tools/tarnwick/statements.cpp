#include "statements.h"

#include "capture/captures.h"
#include "capture/record_feed.h"
#include "print/output.h"
#include "print/table_printer.h"
#include "requests/sorted_rows.h"
#include "requests/statement_columns.h"
#include "requests/statement_sink.h"

#include <array>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace tarnwick::program {
namespace {

constexpr std::array<std::string_view, 6> statement_columns_for_people{"total",      "count",     "slowest",
                                                                       "n_plus_one", "call_site", "statement"};
constexpr std::array<std::string_view, 5> left_out_statement_columns{"slowest", "n_plus_one", "call_site", "count",
                                                                     "total"};

} // namespace

ExitStatus statements(StatementsOptions const &options)
{
    auto const all_columns = statement_columns();
    Output output(STDOUT_FILENO);
    TablePrinter<StatementSummary> printer(output, options, all_columns, statement_columns_for_people,
                                           left_out_statement_columns);
    StatementSink sink(options.reports, printer.masks());
    RecordFeed feed(sink);
    auto const status = read_captures(capture_files(options.files), output,
                                      [&](auto const &frame, auto const & /*origin*/) { return feed.feed(frame); });
    auto order = options.order;
    if (order.column == nullptr)
        order = {.column = &column_named(all_columns, "total"), .is_descending = true, .top = order.top};
    SortedRows<StatementSummary> sorted(order);
    for (auto &statement : sink.finish()) {
        if (fulfils(statement, options.conditions, all_columns))
            sorted.add(std::move(statement));
    }
    for (auto const &statement : sorted.take())
        printer.print(statement);
    printer.finish();
    output.flush();
    return options.reports.check_requests(status);
}

} // namespace tarnwick::program
