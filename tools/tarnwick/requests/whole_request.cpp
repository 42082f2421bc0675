#include "requests/whole_request.h"

#include "capture/captures.h"
#include "capture/rereadable_captures.h"

#include <optional>
#include <unordered_set>

namespace tarnwick::program {

void WholeRequest::summarize()
{
    summary.number = number;
    for (auto const dialect : {Dialect::rpc, Dialect::protobuf}) {
        auto const index = static_cast<std::size_t>(dialect);
        for (auto const &start : of<data::php::RInit>(dialect))
            summary.add(start.record, dialect);
        for (auto const &end : of<data::php::RShutdown>(dialect))
            summary.add(end.record, dialect);
        if (auto const &errors = of<data::php::ErrorData>(dialect); !errors.empty())
            summary.errors[index] = errors.size();
        if (auto const &events = of<data::monitor::Event>(dialect); !events.empty())
            summary.events[index] = events.size();
        auto const &statements = of<data::glimmet::SqlQueries>(dialect);
        if (statements.empty())
            continue;
        std::uint64_t queries = 0;
        for (auto const &reported : statements)
            queries += static_cast<std::uint64_t>(reported.record->queries().size());
        summary.statements[index] = queries;
    }
}

ExitStatus read_whole_requests(std::vector<std::string> const &files, RequestFilter const &filter, bool keeps_both,
                               Output &output, std::function<void(WholeRequest const &request)> const &use)
{
    std::optional<RereadableCaptures> captures;
    std::unordered_set<std::uint64_t> first;
    if (filter.order.top) {
        captures.emplace(files);
        for (auto const &request : chosen_requests(captures->files(), filter))
            first.insert(request.number);
    }
    WholeRequestSink sink(
        filter.reports,
        [&](WholeRequest const &request) {
            if (captures ? first.contains(request.number) : filter.fits(request.summary))
                use(request);
        },
        keeps_both);
    RecordFeed feed(sink);
    auto const status = read_captures(captures ? captures->files() : capture_files(files), output,
                                      [&](auto const &frame, auto const & /*origin*/) { return feed.feed(frame); });
    sink.close_all();
    return filter.reports.check_requests(status);
}

} // namespace tarnwick::program
