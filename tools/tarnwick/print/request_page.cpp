#include "print/request_page.h"

#include "print/bar.h"
#include "print/readable_text.h"
#include "print/request_sections.h"
#include "print/sections.h"
#include "print/short_text.h"
#include "print/text_table.h"
#include "print/text_width.h"
#include "requests/column.h"
#include "requests/request_statements.h"
#include "requests/sql_text.h"
#include "requests/statement_columns.h"

#include <tarnwick/data/records.h>

#include <fmt/format.h>

#include <QtCore/QString>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace tarnwick::program {
namespace {

using data::glimmet::FunctionStats;

constexpr std::size_t most_rows = 10;
constexpr std::size_t narrowest_function = 16;
constexpr std::size_t narrowest_place = 16;
constexpr std::size_t widest_statement = 120;
constexpr qsizetype longest_word_start = 1000;
constexpr std::size_t longest_word = 24;
constexpr std::size_t longest_uri = 500;

/// Returns the method or the URI.
std::string request_text(QString const &text, RequestPageStyle const &style)
{
    if (text.isEmpty())
        return "-";
    auto const masked = style.masks.text(text.toStdString());
    return escaped_text(style.all ? masked : cut_text(masked, longest_uri));
}

/// The request line, and what is known of the whole request.
void write_head(Sections &page, FoundRequest const &request, RequestPageStyle const &style)
{
    auto const &[summary, records] = request;
    std::string line = "a request without a start";
    // The summary has cut texts, in which a secret can be cut too.
    for (auto const &[start, view, origin, position] : records.of_either<data::php::RInit>())
        line = fmt::format("{} {}", request_text(start->request_text_0(), style),
                           request_text(start->request_text_1(), style));
    if (auto const &end = summary.end)
        line += fmt::format("  {}  {}  {}", end->status, short_span_text(end->duration), short_size_text(end->memory));
    page.title(line);

    line = fmt::format("@{}, id {}, {}", summary.number, summary.id,
                       summary.dialects[0] && summary.dialects[1]
                           ? "both dialects"
                           : name_of(summary.dialects[0] ? Dialect::rpc : Dialect::protobuf));
    if (summary.start)
        line += fmt::format(", started {} UTC", short_instant_text(summary.start->time));
    for (auto const &[start, view, origin, position] : records.of_either<data::php::RInit>())
        line += fmt::format(", PHP {}.{}.{}", start->version_major(), start->version_minor(), start->version_patch());
    page.line(line);
    if (!summary.start)
        page.line("incomplete: no report of the start");
    if (!summary.end)
        page.line("incomplete: no report of the end");
}

double seconds_of(data::TimePair time)
{
    return static_cast<double>(nanoseconds(time)) * 1e-9;
}

void write_functions(Sections &page, RequestRecords const &records, RequestPageStyle const &style)
{
    std::vector<FunctionStats const *> functions;
    for (auto const &reported : records.of_either<data::glimmet::Functions>()) {
        for (auto const &function : reported.record->functions())
            functions.push_back(&function);
    }
    if (functions.empty())
        return;
    auto const time = [](auto const *function) { return seconds_of(function->time_first()); };
    std::ranges::stable_sort(functions, std::ranges::greater(), time);
    auto const longest = time(functions.front());
    auto const count = shown(functions.size(), most_rows, style);
    constexpr auto left = TextTable::Align::left;
    TextTable table({{"time_first", TextTable::Align::right, 0, 0, 5},
                     {"", left, 0, 0, 1},
                     {"time_second", TextTable::Align::right, 0, 0, 2},
                     {"count", TextTable::Align::right, 0, 0, 3},
                     {"function", left, 0, narrowest_function},
                     {"", left, 0, narrowest_place, 4}},
                    page.room());
    for (auto const *function : std::span(functions).first(count)) {
        // The code of a file has no name of its own, or that of the file.
        auto const &location = function->location();
        bool const is_file = location && (function->name().isEmpty() || function->name() == location->file());
        table.add({short_span_text(function->time_first()),
                   longest > 0 ? bar(std::max(time(function) / longest, 0.0)) : "",
                   short_span_text(function->time_second()), fmt::to_string(function->count()),
                   plain_name(is_file ? location->file() : function->name(), style.masks),
                   location && !is_file ? plain_place(*location, style.masks) : ""});
    }
    page.title(fmt::format("Functions ({})", functions.size()));
    page.table(std::move(table));
    page.left_out(functions.size() - count);
}

void write_statements(Sections &page, FoundRequest const &request, RequestPageStyle const &style)
{
    std::size_t queries = 0;
    std::vector<std::pair<QString, QString>> failures; // statement and message
    for (auto const &reported : request.records.of_either<data::glimmet::SqlQueries>()) {
        for (auto const &query : reported.record->queries()) {
            ++queries;
            if (auto const &error = query->error())
                failures.emplace_back(query->text(), error->message());
        }
    }
    auto statements = statements_of_request(request.summary.id, request.records, style.masks);
    if (statements.empty())
        return;
    std::ranges::stable_sort(statements, std::ranges::greater(),
                             [](auto const &statement) { return nanoseconds(statement.slowest); });
    std::vector<TextTable::Column> titles;
    std::vector<Column<StatementSummary> const *> columns;
    for (auto const &[name, left_out] :
         {std::pair("slowest", 5), {"total", 1}, {"count", 4}, {"n_plus_one", 2}, {"call_site", 3}, {"statement", 0}}) {
        columns.push_back(&column_named(statement_columns(), name));
        titles.push_back({columns.back()->title, columns.back()->align, 0,
                          columns.back()->type == FieldType::text ? TextTable::narrowest_text : 0,
                          static_cast<std::size_t>(left_out)});
    }
    TextTable table(std::move(titles), page.room());
    auto const count = shown(statements.size(), most_rows, style);
    for (auto &statement : std::span(statements).first(count)) {
        mask(statement);
        std::vector<std::string> cells;
        cells.reserve(columns.size());
        for (auto const *column : columns)
            cells.push_back(column->cell(statement));
        if (!style.all)
            cells.back() = cut_lines(cells.back(), widest_statement);
        table.add(std::move(cells));
    }
    page.title(fmt::format("Statements ({}, {} different)", queries, statements.size()));
    page.table(std::move(table));
    page.left_out(statements.size() - count);
    auto const failed = shown(failures.size(), most_rows, style);
    for (auto const &[statement, message] : std::span(failures).first(failed)) {
        // A word of broken SQL can be anything.
        auto const start = style.masks.text(statement.left(longest_word_start).toStdString());
        auto const word = escaped_text(cut_text(first_word(start), longest_word));
        page.line(fmt::format("{} failed: {}", word.empty() ? "a statement" : word, message_text(message, style)));
    }
    page.left_out(failures.size() - failed);
}

} // namespace

std::string message_text(QString const &text, RequestPageStyle const &style)
{
    return quoted_text(style.masks.text(text.toStdString()), text_length(style));
}

std::string plain_name(QString const &name, Masks const &masks)
{
    return escaped_text(masks.name(name.toStdString()));
}

std::string plain_place(data::php::SourceLocation const &location, Masks const &masks)
{
    return fmt::format("{}:{}", plain_name(location.file(), masks), location.line());
}

std::string request_page(FoundRequest const &request, RequestPageStyle const &style)
{
    style.masks.select_request(request.summary.id);
    collect(style.masks, request.records);
    Sections page(style.color, style.width);
    write_head(page, request, style);
    write_events(page, request, style);
    write_functions(page, request.records, style);
    write_statements(page, request, style);
    write_superglobals(page, request.records, style);
    write_headers(page, request.records, style);
    write_bodies(page, request.records, style);
    write_storage(page, request.records, style);
    return page.text();
}

} // namespace tarnwick::program
