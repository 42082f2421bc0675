#include "requests/request_statements.h"

#include "print/record_selection.h"

#include <tarnwick/data/glimmet/sql_queries.h>
#include <tarnwick/messages.h>

namespace tarnwick::program {

void add_statements(StatementSink &sink, std::uint64_t request_id, RequestRecords const &records)
{
    ReportSource const source{Dialect::rpc, data::php::RequestId(request_id)};
    // A start begins another request.
    rpc::php::v1::NotifyRequest start;
    start.mutable_rinit();
    sink.begin(source, start);
    for (auto const &reported : records.of_either<data::glimmet::SqlQueries>())
        sink.take(reported.record, source, reported.view);
}

std::vector<StatementSummary> statements_of_request(std::uint64_t request_id, RequestRecords const &records,
                                                    Masks const &masks)
{
    ReportChoice const every_report;
    StatementSink sink(every_report, masks);
    add_statements(sink, request_id, records);
    return sink.finish();
}

} // namespace tarnwick::program
