#include "report.h"

#include "capture/captures.h"
#include "capture/record_feed.h"
#include "capture/rereadable_captures.h"
#include "output_file.h"
#include "print/output.h"
#include "report/report_data.h"
#include "requests/records_sink.h"
#include "requests/sorted_rows.h"
#include "requests/summary_sink.h"

#include <cstdint>
#include <map>
#include <optional>
#include <unistd.h>
#include <unordered_map>
#include <utility>

namespace tarnwick::program {
namespace {

/// The chosen requests, by number, and how many reports there are up to the last report of each.
struct ChosenRequests {
    ExitStatus status = success; ///< of reading the captures
    std::map<std::uint64_t, RequestSummary> summaries;
    std::unordered_map<std::uint64_t, std::uint64_t> last_reports;
};

ChosenRequests choose_requests(RereadableCaptures const &captures, RequestFilter const &filter, Output &output)
{
    ChosenRequests chosen;
    SortedRows<RequestSummary> first(filter.order);
    SummarySink sink(filter.reports, [&](RequestSummary &request) {
        if (filter.fits(request))
            first.add(std::move(request));
        else
            chosen.last_reports.erase(request.number);
    });
    RecordFeed feed(sink);
    std::uint64_t reports = 0;
    chosen.status = read_captures(captures.files(), output, [&](auto const &frame, auto const & /*origin*/) {
        auto fault = feed.feed(frame);
        chosen.last_reports[sink.number()] = ++reports;
        return fault;
    });
    sink.close_all();
    for (auto &request : first.take())
        chosen.summaries.emplace(request.number, std::move(request));
    return chosen;
}

/// Passes the records of each chosen request to `data` after its last report, so that few are in memory at a time.
void read_records(RereadableCaptures const &captures, RequestFilter const &filter, ChosenRequests &chosen,
                  ReportData &data)
{
    RecordsSink sink(
        filter.reports, [&](std::uint64_t number) { return chosen.summaries.contains(number); },
        [](RequestRecords const & /*request*/) {});
    RecordFeed feed(sink);
    std::uint64_t reports = 0;
    reread_captures(captures.files(), [&](auto const &frame, auto const &origin) {
        sink.set_origin(origin);
        auto fault = feed.feed(frame);
        ++reports;
        auto const request = chosen.summaries.find(sink.number());
        if (request != chosen.summaries.end() && chosen.last_reports[sink.number()] == reports)
            data.add({request->second, sink.take_records()});
        return fault;
    });
}

} // namespace

ExitStatus report(ReportOptions const &options)
{
    std::optional<OutputFile> file;
    if (options.output != "-")
        file.emplace(options.output);
    Output output(file ? file->descriptor() : STDOUT_FILENO);
    RereadableCaptures const captures(options.files);
    auto chosen = choose_requests(captures, options.filter, output);
    if (chosen.status != success && chosen.summaries.empty())
        return chosen.status;
    ReportData data(output, Masks::of(options.mask, true));
    read_records(captures, options.filter, chosen, data);
    data.finish(options.files);
    output.flush();
    if (file)
        file->finish();
    return options.filter.reports.check_requests(chosen.status);
}

} // namespace tarnwick::program
