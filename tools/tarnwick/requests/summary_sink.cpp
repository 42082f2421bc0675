#include "requests/summary_sink.h"

#include <tarnwick/data/record_messages.h>
#include <tarnwick/messages.h>

namespace tarnwick::program {
void SummarySink::begin(ReportSource const &source, bool is_start)
{
    if (clock_)
        close_due();
    dialect_ = source.dialect;
    request_ = &groups_.of(source.request_id.id(), source.dialect, is_start);
    request_->id = source.request_id.id();
    request_->dialects[static_cast<std::size_t>(source.dialect)] = true;
}

void SummarySink::add(RequestSummary::Counts &counts, int number)
{
    auto &count = counts[static_cast<std::size_t>(dialect_)];
    count = count.value_or(0) + static_cast<std::uint64_t>(number);
}

void SummarySink::count(messages::rpc_php::NotifyRequest const &message)
{
    if (message.has_error())
        add(request_->errors, 1);
}

void SummarySink::count(messages::rpc_monitor::NotifyRequest const & /*message*/)
{
    add(request_->events, 1);
}

void SummarySink::count(messages::rpc_glimmet::NotifyRequest const &message)
{
    if (message.has_sql_queries())
        add(request_->statements, message.sql_queries().queries_size());
}

void SummarySink::count(messages::protobuf_glimmet::Error const & /*message*/)
{
    add(request_->errors, 1);
}

void SummarySink::count(messages::protobuf_monitor::Event const & /*message*/)
{
    add(request_->events, 1);
}

void SummarySink::count(messages::protobuf_glimmet::SqlQueries const &message)
{
    add(request_->statements, message.queries_size());
}

} // namespace tarnwick::program
