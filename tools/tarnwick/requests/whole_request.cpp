#include "requests/whole_request.h"

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

} // namespace tarnwick::program
