#include "database/request_rows.h"

#include "print/short_text.h"
#include "requests/call_site.h"
#include "requests/event_label.h"
#include "requests/request_columns.h"
#include "requests/route.h"
#include "requests/sql_text.h"
#include "requests/statement_sink.h"

#include <tarnwick/data/records.h>

#include <fmt/format.h>
#include <sqlite3.h>

#include <map>
#include <type_traits>
#include <utility>
#include <variant>

namespace tarnwick::program {
namespace {

using data::monitor::Event;
using data::php::PelorinArray;

// A capture can have any number of different statements, of any size.
constexpr std::size_t max_kept_shapes = 10'000;
constexpr std::size_t max_kept_text = 1'000; // in bytes

std::string insertion(std::string_view table, int columns)
{
    std::string marks = "?";
    for (int i = 1; i < columns; ++i)
        marks += ", ?";
    return fmt::format("INSERT INTO {} VALUES ({})", table, marks);
}

Cell file_cell(std::optional<data::php::SourceLocation> const &location, RowTexts const &texts)
{
    return location ? texts.name(location->file()) : Cell();
}

Cell line_cell(std::optional<data::php::SourceLocation> const &location)
{
    return location ? Cell(location->line()) : Cell();
}

} // namespace

RequestRows::RequestRows(Database const &database, Masks const &masks)
    : database_(database)
    , masks_(masks)
    , texts_(masks_)
    , requests_(database, insertion("requests", 17)) // without the generated column
    , headers_(database, insertion("headers", 5))
    , superglobals_(database, insertion("superglobals", 7))
    , bodies_(database, insertion("bodies", 6))
    , errors_(database, insertion("errors", 11))
    , events_(database, insertion("events", 18))
    , functions_(database, insertion("functions", 8))
    , connections_(database, insertion("connections", 4))
    , transactions_(database, insertion("transactions", 5))
    , statements_(database, insertion("statements", 15))
    , frames_(database, insertion("frames", 8))
    , storage_(database, insertion("storage", 5))
{
}

void RequestRows::insert(WholeRequest const &request, std::optional<std::int64_t> key)
{
    masks_.select_request(request.summary.id);
    if (masks_.are_on())
        collect(masks_, request);
    insert_request(request, key);
    insert_headers<data::php::RequestHeaders>(request, "request", "php.RequestHeaders");
    insert_headers<data::php::ResponseHeaders>(request, "response", "php.ResponseHeaders");
    insert_superglobals(request);
    insert_bodies<data::php::PostData>(request, "request");
    insert_bodies<data::php::ResponseBody>(request, "response");
    insert_errors(request);
    insert_events(request);
    insert_functions(request);
    insert_sql_tables(request);
    insert_statements(request);
    insert_storage(request);
}

void RequestRows::insert_request(WholeRequest const &request, std::optional<std::int64_t> key)
{
    auto const &summary = request.summary;
    Cell method;
    Cell uri;
    Cell route;
    Cell version;
    // The summary has cut texts.
    for (auto const &[start, view, origin, position] : request.of_either<data::php::RInit>()) {
        method = texts_.text(start->request_text_0());
        uri = start->request_text_1();
        if (!start->request_text_1().isNull()) {
            // The route of the masked text: a secret without its digits would not be found.
            auto const text = masks_.text(start->request_text_1().toStdString());
            uri = text;
            route = route_of(text);
        }
        version = fmt::format("{}.{}.{}", start->version_major(), start->version_minor(), start->version_patch());
    }
    Cell start;
    Cell status;
    Cell duration;
    Cell memory;
    if (summary.start)
        start = summary.start->time;
    if (auto const &end = summary.end) {
        status = end->status;
        duration = end->duration;
        memory = end->memory;
    }
    requests_.run({key, fmt::to_string(summary.id), summary.number, request_column("dialects").plain(summary), start,
                   method, uri, route, status, duration, memory, RequestSummary::count(summary.errors),
                   RequestSummary::count(summary.events), RequestSummary::count(summary.statements),
                   summary.is_complete(), version, request.reports});
    key_ = ::sqlite3_last_insert_rowid(database_.get());
}

template <class Headers>
void RequestRows::insert_headers(RequestRecords const &records, std::string_view direction, std::string_view record)
{
    ValueCells values(masks_, record, "headers");
    std::int64_t position = 0;
    for (auto const &reported : records.of_either<Headers>()) {
        for (auto const &[name, value] : reported.record->headers()->elements()) {
            auto const key = values.begin(name);
            headers_.run({key_, direction, ++position, key, values.of(value)});
            values.end();
        }
    }
}

void RequestRows::insert_superglobals(RequestRecords const &records)
{
    ValueCells values(masks_, "php.Superglobals", "values");
    std::map<std::string_view, std::int64_t> positions; // by state
    for (auto const &reported : records.of_either<data::php::Superglobals>()) {
        auto &position = positions[reported.view];
        auto const add = [&](Cell const &name, Cell const &key, data::php::ZVal const &value) {
            superglobals_.run({key_, reported.view, ++position, name, key,
                               data::kind_names.at(static_cast<std::size_t>(value->kind())), values.of(value)});
        };
        for (auto const &[name, group] : reported.record->values()->elements()) {
            auto const group_name = values.begin(name);
            if (auto const *elements = std::get_if<PelorinArray>(&group->value())) {
                for (auto const &[key, value] : (*elements)->elements()) {
                    auto const key_cell = values.begin(key);
                    // One message of the protobuf dialect has both states, so the first has later keys without value.
                    if (value->kind() != data::php::ZVal::Kind::undefined)
                        add(group_name, key_cell, value);
                    values.end();
                }
            } else {
                add(group_name, {}, group);
            }
            values.end();
        }
    }
}

template <class Body>
void RequestRows::insert_bodies(RequestRecords const &records, std::string_view direction)
{
    std::int64_t position = 0;
    for (auto const &reported : records.of_either<Body>()) {
        auto const &body = *reported.record;
        if (body.text_0().isEmpty() && body.text_1().isEmpty())
            continue;
        bodies_.run(
            {key_, direction, ++position, texts_.text(body.text_0()), body.number(), texts_.text(body.text_1())});
    }
}

void RequestRows::insert_errors(RequestRecords const &records)
{
    std::int64_t position = 0;
    for (auto const &reported : records.of_either<data::php::ErrorData>()) {
        auto const &record = *reported.record;
        Cell kind;
        Cell category;
        Cell number;
        Cell name;
        Cell text;
        if (auto const *error = std::get_if<data::php::Error>(&record.details())) {
            kind = std::string_view("error");
            category = static_cast<int>(error->category());
            number = error->number();
            name = texts_.name(error->name());
        } else if (auto const *exception = std::get_if<data::php::Exception>(&record.details())) {
            kind = std::string_view("exception");
            name = texts_.name(exception->exception_name());
            text = texts_.text(exception->exception_text());
        }
        errors_.run({key_, ++position, record.timestamp(), kind, category, number, name, texts_.text(record.message()),
                     text, file_cell(record.location(), texts_), line_cell(record.location())});
        insert_frames("error", position, record.stack_trace());
    }
}

void RequestRows::insert_events(RequestRecords const &records)
{
    ValueCells values(masks_, "monitor.CustomEvent", "value");
    std::int64_t position = 0;
    for (auto const &reported : records.of_either<Event>()) {
        auto const &record = *reported.record;
        Row row{key_,
                ++position,
                record.timestamp(),
                event_label(record.kind()),
                texts_.text(record.event_text()),
                record.event_flag(),
                record.function() ? texts_.name(record.function()->name()) : Cell()};
        // The columns of the details, in the order of the table.
        Cell duration;
        Cell usage;
        Row error(5);
        Row custom(4);
        std::visit(
            [&]<class Details>(Details const &details) {
                if constexpr (requires { details.duration; }) {
                    duration = details.duration;
                } else if constexpr (std::is_same_v<Details, Event::HighMemoryUsage>) {
                    usage = details.usage;
                } else if constexpr (std::is_same_v<Details, Event::PhpError>) {
                    error = {details.error_number, texts_.name(details.error_name), texts_.text(details.message),
                             file_cell(details.location, texts_), line_cell(details.location)};
                } else if constexpr (std::is_same_v<Details, Event::CustomEvent>) {
                    custom = {texts_.text(details.text_0), texts_.text(details.text_1), values.of(details.value),
                              details.level};
                }
            },
            record.details());
        row.push_back(duration);
        row.push_back(usage);
        row.insert(row.end(), error.begin(), error.end());
        row.insert(row.end(), custom.begin(), custom.end());
        events_.run(row);
        insert_frames("event", position, record.stack_trace());
    }
}

void RequestRows::insert_functions(RequestRecords const &records)
{
    std::int64_t position = 0;
    for (auto const &reported : records.of_either<data::glimmet::Functions>()) {
        for (auto const &function : reported.record->functions())
            functions_.run({key_, ++position, texts_.name(function.name()), file_cell(function.location(), texts_),
                            line_cell(function.location()), function.count(), function.time_first(),
                            function.time_second()});
    }
}

void RequestRows::insert_sql_tables(RequestRecords const &records)
{
    data::glimmet::SqlConnections::Table connections;
    data::glimmet::SqlTransactions::Table transactions;
    auto const &queries = records.of<data::glimmet::SqlQueries>(Dialect::rpc);
    for (auto const &reported : queries) {
        for (auto const &connection : reported.record->connections())
            connections.insert(connection->id(), connection);
        for (auto const &transaction : reported.record->transactions())
            transactions.insert(transaction->id(), transaction);
    }
    if (queries.empty()) {
        for (auto const &reported : records.of<data::glimmet::SqlConnections>(Dialect::protobuf))
            connections.insert(reported.record.connections());
        for (auto const &reported : records.of<data::glimmet::SqlTransactions>(Dialect::protobuf))
            transactions.insert(reported.record.transactions());
    }
    for (auto const &connection : std::as_const(connections))
        connections_.run({key_, connection->id(), connection->kind(), texts_.text(connection->name())});
    for (auto const &transaction : std::as_const(transactions))
        transactions_.run({key_, transaction->id(), transaction->parent() ? Cell(transaction->parent()->id()) : Cell(),
                           transaction->extra_number(), transaction->time()});
}

void RequestRows::insert_statements(RequestRecords const &records)
{
    std::int64_t position = 0;
    for (auto const &reported : records.of_either<data::glimmet::SqlQueries>()) {
        for (auto const &query : reported.record->queries()) {
            auto const shape = shape_of(query->text());
            auto const call = query->stack_trace() ? call_site_text(*query->stack_trace()) : std::string();
            statements_.run({key_, ++position,
                             masked(shape.statement, masks_.ranges_of_statement(shape.statement, TextPlace::name)),
                             shape.word.empty() ? Cell() : Cell(masks_.text(shape.word)),
                             texts_.statement(query->text()), query->time(),
                             query->error() ? texts_.text(query->error()->message()) : Cell(),
                             call.empty() ? Cell() : Cell(masks_.name(call)), query->kind(), query->source_kind(),
                             query->status(), query->wide_number(), query->extra_number(),
                             query->connection() ? Cell(query->connection()->id()) : Cell(),
                             query->transaction() ? Cell(query->transaction()->id()) : Cell()});
            insert_frames("statement", position, query->stack_trace());
        }
    }
}

void RequestRows::insert_storage(RequestRecords const &records)
{
    ValueCells values(masks_, "glimmet.StorageEntry", "values");
    std::int64_t position = 0;
    for (auto const &reported : records.of_either<data::glimmet::Storage>()) {
        auto const name = texts_.text(reported.record->name());
        auto const &entries = reported.record->entries();
        if (entries.isEmpty())
            storage_.run({key_, ++position, name, {}, {}});
        for (auto const &entry : entries) {
            auto const entry_name = texts_.text(entry.name());
            if (entry.values().isEmpty())
                storage_.run({key_, ++position, name, entry_name, {}});
            for (auto const &value : entry.values())
                storage_.run({key_, ++position, name, entry_name, values.of(value)});
        }
    }
}

void RequestRows::insert_frames(std::string_view owner, std::int64_t position,
                                std::optional<data::php::StackTrace> const &trace)
{
    if (!trace)
        return;
    ValueCells values(masks_, "php.Function", "args");
    std::int64_t number = 0;
    for (auto const &call : trace->frames())
        frames_.run({key_, owner, position, ++number, texts_.name(call.name()), file_cell(call.location(), texts_),
                     line_cell(call.location()), call.args()->elements().empty() ? Cell() : values.of(call.args())});
}

RequestRows::Shape RequestRows::shape_of(QString const &text)
{
    auto const utf8 = text.toStdString();
    if (auto const found = shapes_.find(utf8); found != shapes_.end())
        return found->second;
    auto const start = start_of_text(utf8, StatementSink::max_text);
    Shape shape{cut_text(statement_shape(start), StatementSink::max_shape), first_word(start)};
    if (utf8.size() <= max_kept_text) {
        if (shapes_.size() >= max_kept_shapes)
            shapes_.clear();
        shapes_.emplace(utf8, shape);
    }
    return shape;
}

} // namespace tarnwick::program
