#include "requests/request_columns.h"

#include "print/short_text.h"

#include <fmt/format.h>

#include <QtCore/QString>

#include <array>
#include <optional>

namespace tarnwick::program {
namespace {

using Align = TextTable::Align;
using Request = RequestSummary;

std::string const &absent_cell()
{
    static std::string const text = "-";
    return text;
}

FieldValue number(std::uint64_t value)
{
    return static_cast<long double>(value);
}

FieldValue text_value(std::optional<std::string> const &text)
{
    return text ? FieldValue(std::string_view(*text)) : FieldValue();
}

void write_text(JsonWriter &writer, std::optional<std::string> const &text)
{
    if (text)
        writer.bytes(*text);
    else
        writer.absent();
}

std::optional<std::string> method(Request const &request)
{
    return request.start ? request.start->method : std::nullopt;
}

std::optional<std::string> const &uri(Request const &request)
{
    static std::optional<std::string> const none;
    return request.start ? request.start->uri : none;
}

constexpr std::array<std::string_view, 2> dialect_names{name_of(Dialect::rpc), name_of(Dialect::protobuf)};

std::string dialects_text(Request const &request)
{
    std::string text;
    for (std::size_t i = 0; i < dialect_names.size(); ++i) {
        if (request.dialects[i])
            text += fmt::format("{}{}", text.empty() ? "" : "+", dialect_names[i]);
    }
    return text;
}

void write_dialects(JsonWriter &writer, Request const &request)
{
    writer.begin_list();
    for (std::size_t i = 0; i < dialect_names.size(); ++i) {
        if (request.dialects[i]) {
            writer.item();
            writer.bytes(dialect_names[i]);
        }
    }
    writer.end_list();
}

constexpr auto id_of = [](Request const &request) { return request.id; };
constexpr auto errors_of = [](Request const &request) { return Request::count(request.errors); };
constexpr auto events_of = [](Request const &request) { return Request::count(request.events); };
constexpr auto statements_of = [](Request const &request) { return Request::count(request.statements); };

constexpr std::array columns_of_requests{
    count_column<Request, id_of>("request_id", "request id", 20, data::Sense::id),
    RequestColumn{"dialects", "dialects", Align::left, FieldType::text,
                  [](Request const &request) -> FieldValue {
                      if (request.dialects[0] && request.dialects[1])
                          return std::string_view("rpc+protobuf");
                      return dialect_names[request.dialects[0] ? 0 : 1];
                  },
                  dialects_text, dialects_text, write_dialects, 12},
    RequestColumn{
        "start", "start (UTC)", Align::left, FieldType::instant,
        [](Request const &request) -> FieldValue {
            return request.start ? FieldValue(nanoseconds(request.start->time)) : FieldValue();
        },
        [](Request const &request) { return request.start ? short_instant_text(request.start->time) : absent_cell(); },
        [](Request const &request) { return request.start ? iso_text(request.start->time) : ""; },
        [](JsonWriter &writer, Request const &request) {
            if (request.start)
                writer.time(request.start->time);
            else
                writer.absent();
        },
        23},
    RequestColumn{
        "method", "method", Align::left, FieldType::text,
        [](Request const &request) { return request.start ? text_value(request.start->method) : FieldValue(); },
        [](Request const &request) { return escaped_text(method(request).value_or(absent_cell())); },
        [](Request const &request) { return method(request).value_or(""); },
        [](JsonWriter &writer, Request const &request) { write_text(writer, method(request)); }},
    RequestColumn{"uri", "uri", Align::left, FieldType::text,
                  [](Request const &request) { return text_value(uri(request)); },
                  [](Request const &request) { return escaped_text(uri(request).value_or(absent_cell())); },
                  [](Request const &request) { return uri(request).value_or(""); },
                  [](JsonWriter &writer, Request const &request) { write_text(writer, uri(request)); }, 30},
    RequestColumn{
        "status", "status", Align::right, FieldType::number,
        [](Request const &request) -> FieldValue {
            return request.end ? FieldValue(static_cast<long double>(request.end->status)) : FieldValue();
        },
        [](Request const &request) { return request.end ? fmt::format("{}", request.end->status) : absent_cell(); },
        [](Request const &request) { return request.end ? fmt::format("{}", request.end->status) : ""; },
        [](JsonWriter &writer, Request const &request) {
            if (request.end)
                writer.integer(std::int64_t{request.end->status});
            else
                writer.absent();
        }},
    RequestColumn{
        "duration", "duration", Align::right, FieldType::span,
        [](Request const &request) -> FieldValue {
            return request.end ? FieldValue(nanoseconds(request.end->duration)) : FieldValue();
        },
        [](Request const &request) { return request.end ? short_span_text(request.end->duration) : absent_cell(); },
        [](Request const &request) { return request.end ? seconds_text(request.end->duration) : ""; },
        [](JsonWriter &writer, Request const &request) {
            if (request.end)
                writer.time(request.end->duration);
            else
                writer.absent();
        }},
    RequestColumn{
        "memory", "memory", Align::right, FieldType::number,
        [](Request const &request) -> FieldValue {
            return request.end ? FieldValue(static_cast<long double>(request.end->memory)) : FieldValue();
        },
        [](Request const &request) { return request.end ? short_size_text(request.end->memory) : absent_cell(); },
        [](Request const &request) { return request.end ? fmt::format("{}", request.end->memory) : ""; },
        [](JsonWriter &writer, Request const &request) {
            if (request.end)
                writer.integer(request.end->memory);
            else
                writer.absent();
        }},
    count_column<Request, errors_of>("errors", "errors"),
    count_column<Request, events_of>("events", "events"),
    count_column<Request, statements_of>("statements", "statements"),
    RequestColumn{"complete", "complete", Align::left, FieldType::boolean,
                  [](Request const &request) -> FieldValue { return request.is_complete(); },
                  [](Request const &request) -> std::string { return request.is_complete() ? "yes" : "no"; },
                  [](Request const &request) -> std::string { return request.is_complete() ? "true" : "false"; },
                  [](JsonWriter &writer, Request const &request) { writer.boolean(request.is_complete()); }},
    RequestColumn{"number", "@", Align::right, FieldType::number,
                  [](Request const &request) { return number(request.number); },
                  [](Request const &request) { return fmt::format("@{}", request.number); },
                  [](Request const &request) { return fmt::format("{}", request.number); },
                  [](JsonWriter &writer, Request const &request) { writer.integer(request.number); }, 4},
};

} // namespace

std::span<RequestColumn const> request_columns()
{
    return columns_of_requests;
}

RequestColumn const &request_column(std::string_view name)
{
    return column_named(request_columns(), name);
}

void mask_start(RequestSummary &request, Masks const &masks)
{
    if (!request.start)
        return;
    for (auto *text : {&request.start->method, &request.start->uri}) {
        if (*text)
            *text = masks.text(**text);
    }
}

} // namespace tarnwick::program
