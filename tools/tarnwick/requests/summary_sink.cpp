#include "requests/summary_sink.h"

#include "print/short_text.h"

#include <tarnwick/data/record_messages.h>
#include <tarnwick/messages.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <algorithm>

namespace tarnwick::program {
namespace {

constexpr std::size_t max_method = 24;
constexpr std::size_t max_uri = 500;

/// Returns text as UTF-8, cut if it has more than `max_bytes`; nothing for a null text.
std::optional<std::string> short_text(QString const &text, std::size_t max_bytes)
{
    if (text.isNull())
        return std::nullopt;
    auto const bytes = text.toUtf8();
    return cut_text({bytes.constData(), static_cast<std::size_t>(bytes.size())}, max_bytes);
}

} // namespace

void SummarySink::begin(ReportSource const &source, bool is_start)
{
    dialect_ = source.dialect;
    request_ = &groups_.of(source.request_id.id(), source.dialect, is_start);
    request_->id = source.request_id.id();
    request_->dialects[static_cast<std::size_t>(source.dialect)] = true;
}

void SummarySink::take(data::php::RInit const &record, ReportSource const &source, std::string_view /*view*/)
{
    bool const is_rpc = source.dialect == Dialect::rpc;
    if (request_->has_rpc_start && !is_rpc)
        return;
    request_->has_rpc_start = is_rpc;
    request_->start = {.time = record->timestamp(),
                       .method = short_text(record->request_text_0(), max_method),
                       .uri = short_text(record->request_text_1(), max_uri)};
}

void SummarySink::take(data::php::RShutdown const &record, ReportSource const &source, std::string_view /*view*/)
{
    bool const is_rpc = source.dialect == Dialect::rpc;
    if (request_->has_rpc_end && !is_rpc)
        return;
    request_->has_rpc_end = is_rpc;
    request_->end = {.status = record->response_status(),
                     .duration = record->duration(),
                     .memory = std::max({record->memory_0(), record->memory_1(), record->memory_2()})};
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
