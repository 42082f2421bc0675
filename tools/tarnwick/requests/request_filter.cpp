#include "requests/request_filter.h"

#include "capture/record_feed.h"
#include "requests/request_columns.h"
#include "requests/summary_sink.h"
#include "requests/table_options.h"

#include <utility>

namespace tarnwick::program {

bool RequestFilter::fits(RequestSummary const &request) const
{
    return reports.accepts(data::php::RequestId(request.id)) && (!reports.records || request.has_chosen_record) &&
           fulfils(request, conditions, request_columns());
}

std::vector<RequestSummary> chosen_requests(std::vector<CaptureFile> const &files, RequestFilter const &filter)
{
    SortedRows<RequestSummary> chosen(filter.order);
    SummarySink sink(filter.reports, [&](RequestSummary &request) {
        if (filter.fits(request))
            chosen.add(std::move(request));
    });
    RecordFeed feed(sink);
    reread_captures(files, [&](auto const &frame, auto const & /*origin*/) { return feed.feed(frame); });
    sink.close_all();
    return chosen.take();
}

} // namespace tarnwick::program
