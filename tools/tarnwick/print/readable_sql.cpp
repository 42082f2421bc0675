#include "print/readable_sql.h"

#include "print/readable_text.h"
#include "print/text_table.h"

#include <tarnwick/data/walk.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace tarnwick::program {
namespace {

using data::glimmet::detail::SqlConnection;
using data::glimmet::detail::SqlQuery;
using data::glimmet::detail::SqlTransaction;
using Align = TextTable::Align;

// The tables must have every field.
template <class Record>
constexpr auto number_of_fields = std::tuple_size_v<decltype(data::Description<Record>::fields)>;
static_assert(number_of_fields<SqlConnection> == 3);
static_assert(number_of_fields<SqlTransaction> == 4);
static_assert(number_of_fields<SqlQuery> == 11);

template <class T>
std::string number_text(std::optional<T> const &number)
{
    return number ? fmt::to_string(*number) : "-";
}

template <class Pointer>
std::string id_text(Pointer const &link)
{
    return link ? fmt::to_string(link->id()) : "-";
}

/// Returns the first call with a file, or the first call if none has one.
std::string call_site_text(SqlQuery const &query, Masks const &masks)
{
    if (!query.stack_trace() || query.stack_trace()->frames().isEmpty())
        return "-";
    auto const &frames = query.stack_trace()->frames();
    auto const located = std::ranges::find_if(frames, [](auto const &frame) { return frame.location().has_value(); });
    auto const &frame = located == frames.end() ? frames.front() : *located;
    auto text = quoted_text(masks.name(frame.name().toStdString()));
    if (frame.location())
        text += " at " + place_text(*frame.location(), masks);
    return text;
}

std::string statement(SqlQuery const &query, Masks const &masks)
{
    auto text = quoted_text(masks.statement(query.text().toStdString()));
    if (query.error())
        text += ", error " + quoted_text(masks.text(query.error()->message().toStdString()));
    return text;
}

void write(ReadableWriter &writer, std::string_view field, TextTable &&table)
{
    writer.field(field, data::Sense::plain);
    for (auto const &line : table.take_lines())
        writer.row(line);
}

void write_empty(ReadableWriter &writer, std::string_view field)
{
    writer.field(field, data::Sense::plain);
    writer.begin_list();
    writer.end_list();
}

template <class Connections>
void write_connections(ReadableWriter &writer, Connections const &connections, Masks const &masks)
{
    if (connections.isEmpty())
        return write_empty(writer, "connections");
    TextTable table({{"id"}, {"kind"}, {"name", Align::left}});
    for (auto const &connection : connections)
        table.add({fmt::to_string(connection->id()), fmt::to_string(connection->kind()),
                   quoted_text(masks.text(connection->name().toStdString()))});
    write(writer, "connections", std::move(table));
}

template <class Transactions>
void write_transactions(ReadableWriter &writer, Transactions const &transactions)
{
    if (transactions.isEmpty())
        return write_empty(writer, "transactions");
    TextTable table({{"id"}, {"parent"}, {"extra_number"}, {"time"}});
    for (auto const &transaction : transactions)
        table.add({fmt::to_string(transaction->id()), id_text(transaction->parent()),
                   number_text(transaction->extra_number()), span_text(transaction->time())});
    write(writer, "transactions", std::move(table));
}

template <class Queries>
void write_queries(ReadableWriter &writer, Queries const &queries, Masks const &masks)
{
    if (queries.isEmpty())
        return write_empty(writer, "queries");
    TextTable table({{"time"},
                     {"connection"},
                     {"transaction"},
                     {"kind"},
                     {"source_kind"},
                     {"status"},
                     {"wide_number"},
                     {"extra_number"},
                     {"call site", Align::left},
                     {"text", Align::left}});
    for (auto const &query : queries)
        table.add({span_text(query->time()), id_text(query->connection()), id_text(query->transaction()),
                   fmt::to_string(query->kind()), fmt::to_string(query->source_kind()), fmt::to_string(query->status()),
                   fmt::to_string(query->wide_number()), number_text(query->extra_number()),
                   call_site_text(*query, masks), statement(*query, masks)});
    write(writer, "queries", std::move(table));
}

/// Writes the statements that were sent more than once, most frequent first, then in the order of their first query.
template <class Queries>
void write_repeated(ReadableWriter &writer, Queries const &queries, Masks const &masks)
{
    struct Statement {
        std::size_t count = 0;
        QString text;
    };
    std::vector<Statement> statements;
    std::map<QStringView, std::size_t> places;
    for (auto const &query : queries) {
        auto const [place, is_new] = places.emplace(query->text(), statements.size());
        if (is_new)
            statements.push_back({0, query->text()});
        ++statements[place->second].count;
    }
    std::erase_if(statements, [](Statement const &row) { return row.count < 2; });
    if (statements.empty())
        return;
    std::ranges::stable_sort(statements, std::ranges::greater(), &Statement::count);
    TextTable table({{"count"}, {"text", Align::left}});
    for (auto const &[count, text] : statements)
        table.add({fmt::to_string(count), quoted_text(masks.statement(text.toStdString()))});
    write(writer, "repeated", std::move(table));
}

} // namespace

void write_readable(ReadableWriter &writer, data::glimmet::SqlConnections const &record, Masks const &masks)
{
    write_connections(writer, record, masks);
}

void write_readable(ReadableWriter &writer, data::glimmet::SqlTransactions const &record, Masks const & /*masks*/)
{
    write_transactions(writer, record);
}

void write_readable(ReadableWriter &writer, data::glimmet::detail::SqlQueries const &record, Masks const &masks)
{
    writer.field("request_id", data::Sense::plain);
    data::walk(writer, record.request_id());
    write_connections(writer, record.connections(), masks);
    write_transactions(writer, record.transactions());
    write_queries(writer, record.queries(), masks);
    write_repeated(writer, record.queries(), masks);
}

} // namespace tarnwick::program
