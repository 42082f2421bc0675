#include "report/report_data.h"

#include "print/json_writer.h"
#include "report/report_page.h"
#include "report/request_details.h"
#include "requests/request_columns.h"
#include "requests/request_statements.h"
#include "requests/sorted_rows.h"
#include "requests/statement_columns.h"

#include <tarnwick/data/php/error_data.h>
#include <tarnwick/data/php/rinit.h>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstddef>
#include <span>
#include <utility>

namespace tarnwick::program {
namespace {

std::string_view name_of_type(FieldType type)
{
    switch (type) {
    case FieldType::number:
        return "number";
    case FieldType::text:
        return "text";
    case FieldType::boolean:
        return "boolean";
    case FieldType::instant:
        return "instant";
    case FieldType::span:
        return "span";
    case FieldType::other:
        break;
    }
    return "other";
}

/// Writes the names and types of columns, for conditions and titles.
template <class Row>
void write_columns(JsonWriter &json, std::span<Column<Row> const> columns)
{
    json.begin_list();
    for (auto const &column : columns) {
        json.begin_record({});
        json.field("name");
        json.bytes(column.name);
        json.field("title");
        json.bytes(column.title);
        json.field("type");
        json.bytes(name_of_type(column.type));
        json.end_record();
    }
    json.end_list();
}

} // namespace

ReportData::ReportData(Output &output, Masks masks)
    : output_(output)
    , masks_(std::move(masks))
    , statements_(every_report_, masks_)
    , values_([this, number = 0](std::string_view block) mutable {
        output_.write(report_block(fmt::format("values-{}", number++), block));
    })
{
    output_.write(report_start());
}

void ReportData::add(FoundRequest request)
{
    // This masks the statements of the previous request with its secrets, and then chooses this request.
    add_statements(statements_, request.summary.id, request.records);
    masks_.select_request(request.summary.id);
    collect(masks_, request.records);
    mask_start(request);
    JsonWriter json({.string_ids = true});
    json.begin_record({});
    write_cells(json, request.summary, request_columns());
    json.field("details");
    json.integer(values_.add(request_details(request, masks_)));
    auto row = std::string(json.line());
    rows_.emplace(request.summary.number, fmt::format("{},\"error_names\":[{}]}}", row, error_counts(request)));
}

void ReportData::finish(std::vector<std::string> const &files)
{
    values_.finish();
    output_.write(report_block("index", index(files)));
    output_.write(report_end());
}

/// Returns pairs of the number of a name and how many errors of the request have the name.
std::string ReportData::error_counts(FoundRequest const &request)
{
    RequestActivity activity;
    ActivityBuilder builder(error_names_);
    for (auto const &error : request.records.of_either<data::php::ErrorData>())
        builder.add(activity, error.record, Dialect::rpc);
    mask_names(error_names_, activity, masks_);
    std::map<std::uint32_t, double> counts;
    for (auto const &[name, amount] : activity.of(ActivityKind::error)) {
        counts.emplace(name, amount.count);
        error_count_ = std::max(error_count_, name + 1);
    }
    std::vector<std::string> pairs;
    pairs.reserve(counts.size());
    for (auto const &[name, count] : counts)
        pairs.push_back(fmt::format("[{},{:.0f}]", name, count));
    return fmt::format("{}", fmt::join(pairs, ","));
}

/// Masks the texts of the start before they are cut, so that no part of a secret remains.
void ReportData::mask_start(FoundRequest &request) const
{
    if (!masks_.are_on())
        return;
    RequestSummary start;
    for (auto const &reported : request.records.of_either<data::php::RInit>())
        start.add(reported.record, Dialect::rpc, true);
    mask_texts(start, masks_);
    mask(start);
    request.summary.start = std::move(start.start);
}

std::string ReportData::index(std::vector<std::string> const &files)
{
    JsonWriter json({.string_ids = true});
    json.begin_record({});
    json.field("files");
    json.begin_list();
    for (auto const &file : files)
        json.bytes(file);
    json.end_list();
    json.field("has_masks");
    json.boolean(masks_.are_on());
    json.field("request_columns");
    write_columns(json, request_columns());
    json.field("statement_columns");
    write_columns(json, statement_columns());
    json.field("errors");
    json.begin_list();
    for (std::uint32_t number = 0; number < error_count_; ++number)
        json.bytes(error_names_.shown(number));
    json.end_list();
    json.field("value_starts");
    json.begin_list();
    for (auto const start : values_.starts())
        json.integer(start);
    json.end_list();
    json.field("statements");
    json.begin_list();
    SortedRows<StatementSummary> sorted(
        {.column = &column_named(statement_columns(), "total"), .is_descending = true, .top = {}});
    for (auto &statement : statements_.finish())
        sorted.add(std::move(statement));
    for (auto statement : sorted.take()) {
        if (masks_.are_on())
            mask(statement);
        write_row(json, statement, statement_columns());
    }
    json.end_list();
    auto text = std::string(json.line());
    text += ",\"requests\":[";
    std::string_view separator;
    for (auto const &[number, row] : rows_) {
        text += separator;
        text += row;
        separator = ",";
    }
    return text + "]}";
}

} // namespace tarnwick::program
