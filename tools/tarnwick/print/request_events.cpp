#include "print/readable_text.h"
#include "print/request_sections.h"
#include "print/short_text.h"
#include "requests/call_site.h"
#include "requests/event_label.h"

#include <tarnwick/data/monitor/event.h>
#include <tarnwick/data/php/error_data.h>

#include <fmt/format.h>

#include <QtCore/QString>

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace tarnwick::program {
namespace {

using data::monitor::Event;
using data::php::ErrorData;

constexpr std::size_t most_entries = 20;

/// An error or an event.
struct Entry {
    std::uint64_t position = 0;
    data::TimePair time;
    bool is_event = false;
    std::string kind;
    std::string text;
    QString subject{}; ///< name and message of a PHP error
    std::optional<data::php::SourceLocation> place;
    data::php::StackTrace const *trace = nullptr; ///< null if there is none
};

data::php::StackTrace const *pointer_to(std::optional<data::php::StackTrace> const &trace)
{
    return trace ? &*trace : nullptr;
}

QString name_of(ErrorData::Details const &details)
{
    if (auto const *error = std::get_if<data::php::Error>(&details))
        return error->name();
    if (auto const *exception = std::get_if<data::php::Exception>(&details))
        return exception->exception_name();
    return {};
}

std::string name_and_message(QString const &name, QString const &message, RequestPageStyle const &style)
{
    return fmt::format("{}{}{}", plain_name(name, style.masks), name.isEmpty() ? "" : "  ",
                       message_text(message, style));
}

Entry entry_of(ReportedRecord<ErrorData> const &reported, RequestPageStyle const &style)
{
    auto const &error = *reported.record;
    return {.position = reported.position,
            .time = error.timestamp(),
            .is_event = false,
            .kind = std::holds_alternative<data::php::Exception>(error.details()) ? "exception" : "error",
            .text = name_and_message(name_of(error.details()), error.message(), style),
            .subject = name_of(error.details()) + QChar(u'\n') + error.message(),
            .place = error.location(),
            .trace = pointer_to(error.stack_trace())};
}

/// Describes the fields that only some kinds of events have.
struct DescribeDetails {
    RequestPageStyle const &style;

    std::string operator()(Event::FunctionError const & /*details*/) const { return {}; }
    std::string operator()(Event::SlowFunctionExec const &details) const { return short_span_text(details.duration); }
    std::string operator()(Event::SlowRequest const &details) const { return short_span_text(details.duration); }
    std::string operator()(Event::HighMemoryUsage const &details) const { return fmt::to_string(details.usage); }
    std::string operator()(Event::PhpError const &details) const
    {
        return name_and_message(details.error_name, details.message, style);
    }
    std::string operator()(Event::CustomEvent const &details) const
    {
        return fmt::format("{}  {}", message_text(details.text_0, style), message_text(details.text_1, style));
    }
};

/// The text that every event has, unless it repeats the name of a PHP error.
std::string text_of_event(data::monitor::detail::Event const &event, RequestPageStyle const &style)
{
    auto const *error = std::get_if<Event::PhpError>(&event.details());
    bool const is_repeated = error != nullptr && error->error_name == event.event_text();
    return event.event_text().isEmpty() || is_repeated ? std::string() : message_text(event.event_text(), style);
}

Entry entry_of(ReportedRecord<Event> const &reported, RequestPageStyle const &style)
{
    auto const &event = *reported.record;
    Entry entry{.position = reported.position,
                .time = event.timestamp(),
                .is_event = true,
                .kind = fmt::format("event: {}", event_label(event.kind())),
                .text = {},
                .place = std::nullopt,
                .trace = pointer_to(event.stack_trace())};
    for (auto const &part : {event.function() ? plain_name(event.function()->name(), style.masks) : std::string(),
                             std::visit(DescribeDetails{style}, event.details()), text_of_event(event, style)}) {
        if (!part.empty())
            entry.text += (entry.text.empty() ? "" : "  ") + part;
    }
    if (auto const *details = std::get_if<Event::PhpError>(&event.details())) {
        entry.place = details->location;
        entry.subject = details->error_name + QChar(u'\n') + details->message;
    }
    return entry;
}

template <class Record>
void add_entries(std::vector<Entry> &entries, RequestRecords const &records, RequestPageStyle const &style)
{
    for (auto const &reported : records.of_either<Record>())
        entries.push_back(entry_of(reported, style));
}

std::string since_start(data::TimePair time, FoundRequest const &request)
{
    if (!request.summary.start || !is_normal(time) || !is_normal(request.summary.start->time))
        return "-";
    auto const passed = nanoseconds(time) - nanoseconds(request.summary.start->time);
    constexpr long double day = 86'400e9L;
    // Clocks can be set.
    if (passed < 0 || passed > day)
        return "-";
    auto const nanos = static_cast<std::int64_t>(passed);
    return short_span_text({nanos / 1'000'000'000, static_cast<std::int32_t>(nanos % 1'000'000'000)});
}

std::string call_text(data::php::Function const &call, Masks const &masks)
{
    auto text = plain_name(call.name(), masks);
    if (call.location())
        text += " called at " + plain_place(*call.location(), masks);
    return text;
}

bool is_same_place(std::optional<data::php::SourceLocation> const &left,
                   std::optional<data::php::SourceLocation> const &right)
{
    return left && right && left->file() == right->file() && left->line() == right->line();
}

void write_calls(Sections &page, Entry const &entry, RequestPageStyle const &style)
{
    auto const *const site = entry.trace != nullptr ? call_site(*entry.trace) : nullptr;
    if (entry.place && (site == nullptr || !is_same_place(entry.place, site->location())))
        page.line_to_end("at " + plain_place(*entry.place, style.masks), 6);
    if (style.all && entry.trace != nullptr) {
        for (auto const &call : entry.trace->frames())
            page.line_to_end(call_text(call, style.masks), 6);
    } else if (site != nullptr) {
        page.line_to_end(call_text(*site, style.masks), 6);
    }
}

} // namespace

void write_events(Sections &page, FoundRequest const &request, RequestPageStyle const &style)
{
    std::vector<Entry> entries;
    add_entries<ErrorData>(entries, request.records, style);
    add_entries<Event>(entries, request.records, style);
    if (entries.empty())
        return;
    std::ranges::sort(entries, {}, &Entry::position);
    page.title(fmt::format("Errors and events ({})", entries.size()));
    auto const count = shown(entries.size(), most_entries, style);
    Entry const *previous = nullptr;
    for (auto const &entry : std::span(entries).first(count)) {
        // PHP processes send an event for most errors.
        bool const is_repeated = previous != nullptr && !previous->is_event && entry.is_event &&
                                 previous->subject == entry.subject && entry.trace == nullptr &&
                                 is_same_place(previous->place, entry.place);
        page.line(fmt::format("{:>8}  {}  {}", since_start(entry.time, request), entry.kind,
                              is_repeated ? "the same" : entry.text));
        if (!is_repeated)
            write_calls(page, entry, style);
        previous = &entry;
    }
    page.left_out(entries.size() - count);
}

} // namespace tarnwick::program
