#include "requests/request_activity.h"

#include "print/short_text.h"
#include "requests/condition.h"
#include "requests/sql_text.h"
#include "requests/statement_sink.h"

#include <fmt/format.h>

#include <QtCore/QString>

#include <algorithm>
#include <array>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <utility>
#include <variant>

namespace tarnwick::program {
namespace {

using data::monitor::Event;

/// Returns the parts that are not empty, with colons between.
std::string joined(std::initializer_list<QString> parts)
{
    std::string text;
    for (auto const &part : parts) {
        if (!part.isEmpty())
            text += fmt::format("{}{}", text.empty() ? "" : ": ", part.toStdString());
    }
    return text;
}

constexpr std::string_view before_file = " in ";

std::string in_file(std::string text, std::optional<data::php::SourceLocation> const &location)
{
    return location ? fmt::format("{}{}{}", text, before_file, location->file().toStdString()) : std::move(text);
}

/// The message is a text, and the file is a name.
TextRanges ranges_of_error(Masks const &masks, std::string_view name)
{
    auto const end = std::min(name.rfind(before_file), name.size());
    auto const file = std::min(end + before_file.size(), name.size());
    auto ranges = masks.ranges(name.substr(0, end));
    for (auto const &[begin, range_end] : masks.ranges(name.substr(file), TextPlace::name))
        ranges.push_back({file + begin, file + range_end});
    return ranges;
}

std::string function_name(data::glimmet::FunctionStats const &function)
{
    auto const &location = function.location();
    return (function.name().isEmpty() && location ? location->file() : function.name()).toStdString();
}

std::string error_name(data::php::ErrorData const &record)
{
    QString class_name;
    if (auto const *error = std::get_if<data::php::Error>(&record->details()))
        class_name = error->name().isEmpty() ? QString::number(error->number()) : error->name();
    else if (auto const *exception = std::get_if<data::php::Exception>(&record->details()))
        class_name = exception->exception_name();
    return in_file(joined({class_name, record->message()}), record->location());
}

QString event_subject(Event const &record)
{
    if (auto const *error = std::get_if<Event::PhpError>(&record->details()))
        return error->message;
    if (auto const *event = std::get_if<Event::CustomEvent>(&record->details()))
        return event->text_0;
    return record->function() ? record->function()->name() : QString();
}

std::string event_name(Event const &record)
{
    auto const &labels = data::Description<data::monitor::detail::Event>::kinds;
    auto const *const label = std::ranges::find(labels, static_cast<std::int64_t>(record->kind()), &data::Label::value);
    auto const kind = label == std::end(labels)
                          ? QString::number(static_cast<std::uint32_t>(record->kind()))
                          : QString::fromUtf8(label->meaning.data(), static_cast<qsizetype>(label->meaning.size()));
    return joined({kind, record->event_text(), event_subject(record)});
}

std::string shape_of(data::glimmet::detail::SqlQuery const &query)
{
    auto const text = query.text().toUtf8();
    return statement_shape(
        start_of_text({text.constData(), static_cast<std::size_t>(text.size())}, StatementSink::max_text));
}

/// Returns the amounts of a kind in a dialect, which exist from now on.
Amounts &amounts_of(RequestActivity &request, ActivityKind kind, Dialect dialect)
{
    auto &amounts = request.amounts[static_cast<std::size_t>(kind)][static_cast<std::size_t>(dialect)];
    if (!amounts)
        amounts.emplace();
    return *amounts;
}

void count(RequestSummary::Counts &counts, Dialect dialect, std::uint64_t number)
{
    auto &count = counts[static_cast<std::size_t>(dialect)];
    count = count.value_or(0) + number;
}

} // namespace

Amount &Amount::operator+=(Amount const &other)
{
    count += other.count;
    nanoseconds += other.nanoseconds;
    return *this;
}

Amount operator*(Amount amount, double factor)
{
    return {amount.count * factor, amount.nanoseconds * factor};
}

std::uint32_t NameTable::number_of(std::string const &name)
{
    auto const shown = cut_text(name, max_name);
    auto const key = shown.size() < name.size() ? fmt::format("{}{}", shown, std::hash<std::string>()(name)) : name;
    auto const [entry, is_new] = numbers_.try_emplace(key, static_cast<std::uint32_t>(names_.size()));
    if (is_new)
        names_.push_back({.shown = {.text = shown}, .secrets_version = std::nullopt});
    return entry->second;
}

void NameTable::mask(std::uint32_t number, Masks const &masks, MaskedRanges ranges)
{
    if (!masks.are_on())
        return;
    auto &[shown, secrets_version] = names_[number];
    auto const version = masks.secrets_version();
    if (secrets_version == version)
        return;
    secrets_version = version;
    add_ranges(shown.masked, ranges(masks, shown.text));
}

void mask_names(NameTable &names, RequestActivity const &request, Masks const &masks)
{
    constexpr std::array<NameTable::MaskedRanges, activity_kinds.size()> ranges_of_kind{
        [](Masks const &rules, std::string_view name) { return rules.ranges(name, TextPlace::name); },
        [](Masks const &rules, std::string_view shape) { return rules.ranges_of_statement(shape, TextPlace::name); },
        ranges_of_error, [](Masks const &rules, std::string_view text) { return rules.ranges(text); }};
    for (auto const kind : activity_kinds) {
        for (auto const &[number, amount] : request.of(kind))
            names.mask(number, masks, ranges_of_kind[static_cast<std::size_t>(kind)]);
    }
}

Amounts const &RequestActivity::of(ActivityKind kind) const
{
    static Amounts const none;
    auto const &[rpc, protobuf] = amounts[static_cast<std::size_t>(kind)];
    return rpc ? *rpc : protobuf ? *protobuf : none;
}

void ActivityBuilder::add(RequestActivity &request, data::php::RInit const &record, Dialect dialect)
{
    request.RequestSummary::add(record, dialect);
}

void ActivityBuilder::add(RequestActivity &request, data::php::RShutdown const &record, Dialect dialect)
{
    request.RequestSummary::add(record, dialect);
}

void ActivityBuilder::add(RequestActivity &request, data::php::ErrorData const &record, Dialect dialect)
{
    count(request.errors, dialect, 1);
    amounts_of(request, ActivityKind::error, dialect)[names_.number_of(error_name(record))] += {1, 0};
}

void ActivityBuilder::add(RequestActivity &request, Event const &record, Dialect dialect)
{
    count(request.events, dialect, 1);
    amounts_of(request, ActivityKind::event, dialect)[names_.number_of(event_name(record))] += {1, 0};
}

void ActivityBuilder::add(RequestActivity &request, data::glimmet::Functions const &record, Dialect dialect)
{
    auto &amounts = amounts_of(request, ActivityKind::function, dialect);
    for (auto const &function : record->functions()) {
        amounts[names_.number_of(function_name(function))] +=
            {static_cast<double>(function.count()), static_cast<double>(nanoseconds(function.time_first()))};
    }
}

void ActivityBuilder::add(RequestActivity &request, data::glimmet::SqlQueries const &record, Dialect dialect)
{
    count(request.statements, dialect, static_cast<std::uint64_t>(record->queries().size()));
    auto &amounts = amounts_of(request, ActivityKind::statement, dialect);
    for (auto const &query : record->queries()) {
        amounts[names_.number_of(shape_of(*query))] += {1, static_cast<double>(nanoseconds(query->time()))};
    }
}

} // namespace tarnwick::program
