#include "requests/summary_sink.h"

#include <tarnwick/data/record_messages.h>
#include <tarnwick/messages.h>

namespace tarnwick::program {
void SummarySink::begin(ReportSource const &source, bool is_start)
{
    finish_report();
    if (clock_)
        close_due();
    dialect_ = source.dialect;
    request_ = &groups_.of(source.request_id.id(), source.dialect, is_start);
    request_->id = source.request_id.id();
    request_->dialects[static_cast<std::size_t>(source.dialect)] = true;
    number_ = request_->number;
    has_masks_ = masks_.are_on() && reports_.accepts(source.request_id);
    if (has_masks_)
        masks_.select_request(request_->id);
}

/// Secrets of a request are forgotten while it is open, so they are searched for at once.
void SummarySink::finish_report()
{
    if (has_masks_ && request_ != nullptr && (has_new_texts_ || masks_.have_new_secrets()))
        mask_texts(*request_, masks_);
    request_ = nullptr;
    has_new_texts_ = false;
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
