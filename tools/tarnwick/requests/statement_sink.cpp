#include "requests/statement_sink.h"

#include "print/short_text.h"
#include "requests/call_site.h"
#include "requests/condition.h"
#include "requests/sql_text.h"

#include <tarnwick/data/glimmet/sql_query.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <algorithm>
#include <functional>
#include <utility>

namespace tarnwick::program {

using data::glimmet::detail::SqlQuery;

StatementSink::StatementSink(ReportChoice const &reports, Masks masks)
    : reports_(reports)
    , masks_(std::move(masks))
    , groups_([this](Request const &request) { close(request); }, RequestGroups<Request>::Order::closing)
{
}

void StatementSink::begin(ReportSource const &source, bool is_start)
{
    finish_report();
    request_ = &groups_.of(source.request_id.id(), source.dialect, is_start);
    request_->id = source.request_id.id();
    is_chosen_ = reports_.accepts(source.request_id);
    masks_.select_request(request_->id);
}

/// Secrets of a request are forgotten while it is open, so they are searched for at once.
void StatementSink::finish_report()
{
    if (request_ != nullptr && masks_.are_on() && (has_new_queries_ || masks_.have_new_secrets())) {
        for (auto const &[place, calls] : request_->calls) {
            auto &statement = statements_[place.first].summary;
            add_ranges(statement.masked_statement, masks_.ranges_of_statement(statement.statement, TextPlace::name));
            if (place.second == 0)
                continue;
            auto &call_site = call_sites_[place.second - 1];
            add_ranges(call_site.masked, masks_.ranges(call_site.text, TextPlace::name));
        }
    }
    request_ = nullptr;
    has_new_queries_ = false;
}

void StatementSink::add(data::glimmet::SqlQueries const &record, Dialect dialect)
{
    has_new_queries_ = true;
    bool const is_rpc = dialect == Dialect::rpc;
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
    auto text = query.stack_trace() ? call_site_text(*query.stack_trace()) : std::string();
    if (text.empty())
        return 0;
    if (auto const found = call_site_places_.find(text); found != call_site_places_.end())
        return found->second;
    call_sites_.push_back({.text = std::move(text)});
    call_site_places_.emplace(call_sites_.back().text, call_sites_.size());
    return call_sites_.size();
}

void StatementSink::close(Request const &request)
{
    if (reports_.records && !request.has_chosen_record)
        return;
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
            statement.call_site = place.second;
        }
    }
}

std::vector<StatementSummary> StatementSink::finish()
{
    finish_report();
    groups_.close_all();
    std::vector<StatementSummary> found;
    for (auto &[summary, first_located, call_site] : statements_) {
        if (summary.count == 0) // of requests that are not chosen, or whose queries of the rpc dialect count
            continue;
        if (call_site != 0) {
            summary.call_site = call_sites_[call_site - 1].text;
            summary.masked_call_site = call_sites_[call_site - 1].masked;
        }
        found.push_back(std::move(summary));
    }
    return found;
}

} // namespace tarnwick::program
