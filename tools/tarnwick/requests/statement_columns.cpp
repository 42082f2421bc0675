#include "requests/statement_columns.h"

#include "print/short_text.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

namespace tarnwick::program {
namespace {

using Summary = StatementSummary;
using StatementColumn = Column<Summary>;

/// Returns a length of time; the largest possible one if it is too long.
data::TimePair time_of(long double nanoseconds)
{
    constexpr long double in_a_second = 1e9L;
    auto const seconds = std::floor(nanoseconds / in_a_second);
    if (std::abs(seconds) >= 0x1p63L)
        return {seconds < 0 ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max(), 0};
    return {static_cast<std::int64_t>(seconds), static_cast<std::int32_t>(nanoseconds - seconds * in_a_second)};
}

/// Returns the part of a call site after the directories.
std::string file_name(std::string const &call_site)
{
    return call_site.substr(call_site.find_last_of('/') + 1);
}

/// A column of a text that is absent if it is empty. `short_text` returns the part that the table has.
template <auto member, auto short_text>
constexpr StatementColumn text_column(std::string_view name, std::string_view title)
{
    return {name,
            title,
            TextTable::Align::left,
            FieldType::text,
            [](Summary const &row) {
                return (row.*member).empty() ? FieldValue() : FieldValue(std::string_view(row.*member));
            },
            [](Summary const &row) {
                return (row.*member).empty() ? std::string("-") : escaped_text(short_text(row.*member));
            },
            [](Summary const &row) { return row.*member; },
            [](JsonWriter &writer, Summary const &row) {
                if ((row.*member).empty())
                    writer.absent();
                else
                    writer.bytes(row.*member);
            }};
}

/// A column of a length of time.
template <auto get>
constexpr StatementColumn span_column(std::string_view name)
{
    return {name,
            name,
            TextTable::Align::right,
            FieldType::span,
            [](Summary const &row) -> FieldValue { return nanoseconds(get(row)); },
            [](Summary const &row) { return short_span_text(get(row)); },
            [](Summary const &row) { return seconds_text(get(row)); },
            [](JsonWriter &writer, Summary const &row) { writer.time(get(row)); }};
}

constexpr auto whole = [](std::string const &text) { return text; };
constexpr auto count_of = [](Summary const &row) { return row.count; };
constexpr auto requests_of = [](Summary const &row) { return row.requests; };
constexpr auto per_request_of = [](Summary const &row) { return row.per_request; };
constexpr auto failures_of = [](Summary const &row) { return row.errors; };
constexpr auto total_of = [](Summary const &row) { return time_of(row.total); };
constexpr auto average_of = [](Summary const &row) { return time_of(row.total / row.count); };
constexpr auto slowest_of = [](Summary const &row) { return row.slowest; };
constexpr auto slowest_request_of = [](Summary const &row) { return row.slowest_request; };

constexpr std::array statement_table{
    text_column<&Summary::statement, whole>("statement", "statement"),
    text_column<&Summary::word, whole>("word", "word"),
    count_column<Summary, count_of>("count", "count"),
    count_column<Summary, requests_of>("requests", "requests"),
    count_column<Summary, per_request_of>("per_request", "per request"),
    StatementColumn{"n_plus_one", "N+1", TextTable::Align::right, FieldType::boolean,
                    [](Summary const &row) -> FieldValue { return row.is_n_plus_one(); },
                    [](Summary const &row) { return row.is_n_plus_one() ? fmt::format("{}x", row.per_request) : "-"; },
                    [](Summary const &row) -> std::string { return row.is_n_plus_one() ? "true" : "false"; },
                    [](JsonWriter &writer, Summary const &row) { writer.boolean(row.is_n_plus_one()); }},
    count_column<Summary, failures_of>("errors", "errors"),
    span_column<total_of>("total"),
    span_column<average_of>("average"),
    span_column<slowest_of>("slowest"),
    count_column<Summary, slowest_request_of>("slowest_request", "slowest request", 0, data::Sense::id),
    text_column<&Summary::call_site, file_name>("call_site", "call site"),
};

} // namespace

std::span<StatementColumn const> statement_columns()
{
    return statement_table;
}

void mask(StatementSummary &summary)
{
    summary.statement = masked(summary.statement, std::move(summary.masked_statement));
    summary.call_site = masked(summary.call_site, std::move(summary.masked_call_site));
}

} // namespace tarnwick::program
