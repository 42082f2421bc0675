#include "ls.h"

#include "capture/captures.h"
#include "capture/record_feed.h"
#include "print/output.h"
#include "print/table_printer.h"
#include "requests/request_columns.h"
#include "requests/request_filter.h"
#include "requests/sorted_rows.h"
#include "requests/summary_sink.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tarnwick::program {
namespace {

constexpr std::array<std::string_view, 10> columns_for_people{"number",   "start",  "method", "uri",    "status",
                                                              "duration", "memory", "errors", "events", "statements"};
constexpr std::array<std::string_view, 8> left_out_columns{"start",  "events", "statements", "memory",
                                                           "method", "errors", "status",     "duration"};

} // namespace

ExitStatus ls(LsOptions const &options)
{
    Output output(STDOUT_FILENO);
    TablePrinter<RequestSummary> printer(output, options, request_columns(), columns_for_people, left_out_columns);
    RequestFilter const filter{options.reports, options.conditions, options.order};
    std::optional<SortedRows<RequestSummary>> sorted;
    if (filter.order.column != nullptr)
        sorted.emplace(filter.order);
    std::uint64_t left = filter.order.top.value_or(UINT64_MAX);
    auto const pass_on = [&](RequestSummary &request) {
        if (!filter.fits(request))
            return;
        if (sorted) {
            sorted->add(std::move(request));
            return;
        }
        if (left > 0) {
            printer.print(request);
            --left;
        }
        if (options.follow) {
            printer.finish();
            output.flush();
        }
        if (left == 0)
            throw EnoughResults();
    };
    SummarySink sink(options.reports, pass_on,
                     options.follow ? SummarySink::Clock(std::chrono::steady_clock::now) : nullptr, printer.masks());
    RecordFeed feed(sink);
    auto const handle = [&](auto const &frame, auto const & /*origin*/) { return feed.feed(frame); };
    auto const status = options.follow ? read_captures(capture_files(options.files), output, handle, AtEnd::follow,
                                                       [&sink] { sink.close_due(); })
                                       : read_captures(capture_files(options.files), output, handle);
    try {
        sink.close_all();
    } catch (EnoughResults const &) { // NOLINT(bugprone-empty-catch): the others are not wanted
    }
    if (sorted) {
        for (auto const &request : sorted->take())
            printer.print(request);
    }
    printer.finish();
    output.flush();
    // A capture that is followed or not read to its end can have other requests.
    return options.follow || left == 0 ? status : options.reports.check_requests(status);
}

} // namespace tarnwick::program
