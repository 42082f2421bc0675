#include "report/request_details.h"

#include "print/json_writer.h"
#include "print/record_printer.h"
#include "requests/call_site.h"
#include "requests/request_statements.h"
#include "requests/statement_columns.h"
#include "requests/superglobal_changes.h"

#include <tarnwick/data/records.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace tarnwick::program {
namespace {

using data::php::StackTrace;
using data::php::Superglobals;

void write_call_site(JsonWriter &json, std::optional<StackTrace> const &trace)
{
    if (!trace || trace->frames().isEmpty())
        json.absent();
    else
        json.integer(std::int64_t{call_site(*trace) - trace->frames().constData()});
}

/// Writes the call sites of a record with traces.
template <class Record>
void write_call_sites(JsonWriter &json, Record const &record)
{
    constexpr bool has_trace = requires { record->stack_trace(); };
    constexpr bool has_queries = requires { record->queries(); };
    if constexpr (has_trace || has_queries) {
        json.field("call_sites");
        json.begin_list();
        if constexpr (has_trace) {
            write_call_site(json, record->stack_trace());
        } else {
            for (auto const &query : record->queries())
                write_call_site(json, query->stack_trace());
        }
        json.end_list();
    }
}

template <class Record>
void write_reported(JsonWriter &json, ReportedRecord<Record> const &reported, Dialect dialect, Masks const &masks)
{
    auto const &payload = data::payload_of(reported.record);
    json.begin_record({});
    json.field("record");
    json.bytes(data::Description<std::remove_cvref_t<decltype(payload)>>::name);
    json.field("dialect");
    json.bytes(name_of(dialect));
    json.field("view");
    json.bytes(reported.view);
    write_call_sites(json, reported.record);
    write_masked(json, payload, masks);
    json.end_record();
}

void write_place(JsonWriter &json, std::optional<ValuePlace> const &place)
{
    auto const write = [&json](std::optional<std::size_t> const &position) {
        if (position)
            json.integer(std::uint64_t{*position});
        else
            json.absent();
    };
    write(place ? std::optional(place->group) : std::nullopt);
    write(place ? place->element : std::nullopt);
}

/// Returns the superglobals of a view; null if no report has it.
Superglobals const *superglobals_of_view(RequestRecords const &records, std::string_view view)
{
    auto const &all = records.of_either<Superglobals>();
    auto const found = std::ranges::find(all, view, &ReportedRecord<Superglobals>::view);
    return found == all.end() ? nullptr : &found->record;
}

void write_changes(JsonWriter &json, RequestRecords const &records)
{
    auto const *change = superglobals_of_view(records, "change");
    auto const *start = superglobals_of_view(records, "init");
    json.begin_list();
    if (change != nullptr && start != nullptr) {
        for (auto const &[place, before] : superglobal_changes(*change, start)) {
            json.begin_list();
            write_place(json, place);
            write_place(json, before);
            json.end_list();
        }
    }
    json.end_list();
}

} // namespace

std::string request_details(FoundRequest const &request, Masks const &masks)
{
    JsonWriter json({.string_ids = true});
    json.begin_record({});
    json.field("records");
    json.begin_list();
    request.records.for_each_that_counts(
        [&](auto const &reported, Dialect dialect) { write_reported(json, reported, dialect, masks); });
    json.end_list();
    json.field("statements");
    json.begin_list();
    for (auto &statement : statements_of_request(request.summary.id, request.records, masks)) {
        if (masks.are_on())
            mask(statement);
        write_row(json, statement, statement_columns());
    }
    json.end_list();
    json.field("changes");
    write_changes(json, request.records);
    json.end_record();
    return std::string(json.line());
}

} // namespace tarnwick::program
