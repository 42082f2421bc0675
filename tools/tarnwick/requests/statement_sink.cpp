#include "requests/statement_sink.h"

#include "print/short_text.h"
#include "requests/call_site.h"
#include "requests/condition.h"
#include "requests/sql_text.h"

#include <tarnwick/data/glimmet/sql_query.h>

#include <fmt/format.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <algorithm>
#include <functional>

namespace tarnwick::program {

using data::glimmet::detail::SqlQuery;

StatementSink::StatementSink(ReportChoice const &reports)
    : reports_(reports)
    , groups_([this](Request const &request) { close(request); }, RequestGroups<Request>::Order::closing)
{
}

void StatementSink::begin(ReportSource const &source, bool is_start)
{
    request_ = &groups_.of(source.request_id.id(), source.dialect, is_start);
    request_->id = source.request_id.id();
    is_chosen_ = reports_.accepts(source.request_id);
}

void StatementSink::take(data::glimmet::SqlQueries const &record, ReportSource const &source, std::string_view /*view*/)
{
    bool const is_rpc = source.dialect == Dialect::rpc;
    if (request_->has_rpc && !is_rpc)
        return;
    if (is_rpc && !request_->has_rpc)
        request_->calls.clear();
    request_->has_rpc = is_rpc;
    for (auto const &query : record->queries())
        add(*query);
}

void StatementSink::add(SqlQuery const &query)
{
    auto &calls = request_->calls[{statement_of(query), call_site_of(query)}];
    if (calls.count == 0)
        calls.first = queries_;
    ++queries_;
    auto const time = query.time();
    if (calls.count == 0 || nanoseconds(time) > nanoseconds(calls.slowest))
        calls.slowest = time;
    calls.total += nanoseconds(time);
    calls.errors += query.error() ? 1 : 0;
    ++calls.count;
}

std::size_t StatementSink::statement_of(SqlQuery const &query)
{
    auto const utf8 = query.text().toUtf8();
    auto const text = start_of_text({utf8.constData(), static_cast<std::size_t>(utf8.size())}, max_text);
    auto const shape = statement_shape(text);
    auto const hash = std::hash<std::string>()(shape);
    auto const cut = cut_text(shape, max_shape);
    if (auto const found = statement_places_.find({cut, hash}); found != statement_places_.end())
        return found->second;
    auto &summary = statements_.emplace_back().summary;
    summary.statement = cut;
    summary.word = first_word(text);
    statement_places_.emplace(Shape{summary.statement, hash}, statements_.size() - 1);
    return statements_.size() - 1;
}

/// Returns 0 if the query has no call site, otherwise its position from 1.
std::size_t StatementSink::call_site_of(SqlQuery const &query)
{
    auto const *const call = query.stack_trace() ? call_site(*query.stack_trace()) : nullptr;
    if (call == nullptr)
        return 0;
    auto const &location = call->location();
    bool const is_located = location && !location->file().isEmpty();
    auto text = cut_text((is_located ? location->file() : call->name()).toStdString(), max_call_site);
    if (is_located)
        text += fmt::format(":{}", location->line());
    if (auto const found = call_site_places_.find(text); found != call_site_places_.end())
        return found->second;
    call_sites_.push_back(std::move(text));
    call_site_places_.emplace(call_sites_.back(), call_sites_.size());
    return call_sites_.size();
}

void StatementSink::close(Request const &request)
{
    Statement const *last = nullptr;
    for (auto const &[place, calls] : request.calls) {
        auto &statement = statements_[place.first];
        auto &summary = statement.summary;
        summary.requests += &statement == last ? 0 : 1;
        last = &statement;
        if (summary.count == 0 || nanoseconds(calls.slowest) > nanoseconds(summary.slowest)) {
            summary.slowest = calls.slowest;
            summary.slowest_request = request.id;
        }
        summary.count += calls.count;
        summary.per_request = std::max(summary.per_request, calls.count);
        summary.errors += calls.errors;
        summary.total += calls.total;
        if (place.second != 0 && calls.first < statement.first_located) {
            statement.first_located = calls.first;
            summary.call_site = call_sites_[place.second - 1];
        }
    }
}

std::vector<StatementSummary> StatementSink::finish()
{
    groups_.close_all();
    std::vector<StatementSummary> found;
    for (auto &[summary, first_located] : statements_) {
        if (summary.count > 0) // not only in the protobuf dialect of requests that the rpc dialect reports
            found.push_back(std::move(summary));
    }
    return found;
}

} // namespace tarnwick::program
