#include "print/change_text.h"
#include "print/difference_printer.h"
#include "print/readable_text.h"
#include "print/short_text.h"
#include "print/terminal.h"
#include "print/text_table.h"
#include "print/text_width.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <ranges>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace tarnwick::program {
namespace {

using Align = TextTable::Align;

/// Returns `A → B`, or the only one of both values that exists.
std::string optional_change_text(std::optional<std::string> const &a, std::optional<std::string> const &b)
{
    return a && b ? change_text(*a, *b) : a.value_or(b.value_or(""));
}

std::optional<std::string> time_text(std::optional<Amount> const &amount)
{
    return amount ? std::optional(short_span_text(span_of(amount->nanoseconds))) : std::nullopt;
}

std::optional<std::string> calls_text(std::optional<Amount> const &amount)
{
    return amount ? std::optional(count_text(amount->count)) : std::nullopt;
}

std::string statuses_text(Profile const &profile)
{
    std::string text;
    for (auto const &[status, count] : profile.statuses())
        text += fmt::format("{}{}", text.empty() ? "" : " ", status);
    return text.empty() ? "-" : text;
}

/// Returns what both profiles have, as `A → B`.
template <class Text>
std::string change_of_profiles(Profile const *a, Profile const *b, Text const &text)
{
    auto const optional_text = [&](Profile const *profile) {
        return profile == nullptr ? std::nullopt : std::optional<std::string>(text(*profile));
    };
    return optional_change_text(optional_text(a), optional_text(b));
}

std::string change_of_measure(Profile const *a, Profile const *b, std::size_t measure)
{
    return change_of_profiles(a, b,
                              [&](Profile const &profile) { return measure_text(measure, profile.mean(measure)); });
}

std::string growth_of_measure(Profile const *a, Profile const *b, std::size_t measure)
{
    auto const mean = [&](Profile const *profile) {
        return profile == nullptr ? std::nullopt : profile->mean(measure);
    };
    auto const mean_a = mean(a);
    auto const mean_b = mean(b);
    return mean_a && mean_b ? growth_text(*mean_a, *mean_b) : "";
}

/// Prints differences as tables for people.
class DifferenceText : public DifferencePrinter {
public:
    DifferenceText(Output &output, std::optional<std::uint64_t> top)
        : output_(output)
        , top_(top)
        , width_(terminal_width(STDOUT_FILENO))
    {
    }

    void print_requests(ComparedRequest const &a, ComparedRequest const &b) override
    {
        for (auto const &[label, request] : {std::pair("A", &a), std::pair("B", &b)}) {
            auto const [method, uri] = method_and_uri(request->activity);
            print_line(fmt::format("{}  {} {}  (@{} of {}, id {})", label, method, uri, request->activity.number,
                                   escaped_text(request->file), request->activity.id));
        }
        print_line("");
        TextTable table({{"", Align::left}, {"A → B", Align::left}, {"growth"}});
        table.add({"status", change_of_profiles(&a.profile, &b.profile, statuses_text), ""});
        for (std::size_t i = 0; i < measures.size(); ++i)
            table.add({std::string(measures[i]), change_of_measure(&a.profile, &b.profile, i),
                       growth_of_measure(&a.profile, &b.profile, i)});
        print_table(table);
    }

    void print_captures(ComparedCapture const &a, ComparedCapture const &b,
                        std::vector<RouteDifference> const &routes) override
    {
        for (auto const &[label, capture] : {std::pair("A", &a), std::pair("B", &b)}) {
            std::uint64_t requests = 0;
            for (auto const &[route, profile] : capture->profiles)
                requests += profile.requests();
            print_line(fmt::format("{}  {}  (requests: {})", label, escaped_text(capture->file), requests));
        }
        is_of_captures_ = true;
        if (!routes.empty())
            print_line("");
        auto const count = std::min<std::uint64_t>(top_.value_or(UINT64_MAX), routes.size());
        if (count < routes.size())
            print_line(fmt::format("the first {} of {} routes", count, routes.size()));
        TextTable table({{"change", Align::left, 0, 0, 8},
                         {"duration", Align::left, 0, 0, 7},
                         {"growth", Align::right, 0, 0, 5},
                         {"route", Align::left, 0, narrowest_route},
                         {"requests", Align::left, 0, 0, 3},
                         {"memory", Align::left, 0, 0, 1},
                         {"statements", Align::left, 0, 0, 2},
                         {"errors", Align::left, 0, 0, 6},
                         {"status", Align::left, 0, 0, 4}},
                        width_);
        for (auto const &route : routes | std::views::take(count))
            table.add({std::string(name_of(route.change)), change_of_measure(route.a, route.b, duration_measure),
                       growth_of_measure(route.a, route.b, duration_measure), escaped_text(text_of(route.route)),
                       change_of_profiles(route.a, route.b,
                                          [](Profile const &profile) { return fmt::to_string(profile.requests()); }),
                       change_of_measure(route.a, route.b, memory_measure),
                       change_of_measure(route.a, route.b, statements_measure),
                       change_of_measure(route.a, route.b, errors_measure),
                       change_of_profiles(route.a, route.b, statuses_text)});
        if (!routes.empty())
            print_table(table);
        bool const has_common_route = std::ranges::any_of(
            routes, [](RouteDifference const &route) { return route.a != nullptr && route.b != nullptr; });
        if (!has_common_route) {
            has_sections_ = true;
            print_line("\nNo route is in both captures, so nothing else is compared.");
        }
    }

    void print(std::vector<ActivityDifference> const &differences) override
    {
        if (differences.empty())
            return;
        auto const kind = differences.front().kind;
        bool const has_times = kind == ActivityKind::function || kind == ActivityKind::statement;
        print_heading(fmt::format("{}s{}", name_of(kind), is_of_captures_ ? " per request" : ""), differences.size());
        std::vector<TextTable::Column> columns{{"change", Align::left, 0, 0, 5}};
        if (has_times)
            columns.insert(columns.end(), {{"time", Align::left, 0, 0, 4}, {"growth", Align::right, 0, 0, 2}});
        columns.push_back({"count", Align::left, 0, 0, 1});
        columns.push_back({name_of(kind), Align::left, 0, TextTable::narrowest_text});
        auto table = table_of(std::move(columns), 3);
        for (auto const &difference : differences | std::views::take(max_rows())) {
            auto const &a = difference.a;
            auto const &b = difference.b;
            std::vector<std::string> cells{std::string(name_of(difference.change))};
            if (has_times) {
                cells.push_back(optional_change_text(time_text(a), time_text(b)));
                cells.push_back(a && b ? growth_text(a->nanoseconds, b->nanoseconds) : "");
            }
            cells.push_back(optional_change_text(calls_text(a), calls_text(b)));
            cells.push_back(escaped_text(difference.name));
            add_row(table, std::move(cells), difference.route);
        }
        print_table(table);
    }

    void print(std::vector<KeyDifference> const &differences) override
    {
        if (differences.empty())
            return;
        print_heading("keys", differences.size());
        auto table = table_of({{"change", Align::left, 0, 0, 3},
                               {"array", Align::left, 0, 0, 2},
                               {"key", Align::left, 0, TextTable::narrowest_text}},
                              1);
        for (auto const &difference : differences | std::views::take(max_rows())) {
            std::string key;
            for (auto const &part : difference.path) {
                auto const text = escaped_text(part);
                key += key.empty() ? text : fmt::format("[{}]", text);
            }
            add_row(table,
                    {std::string(name_of(difference.is_in_b ? Change::only_in_b : Change::only_in_a)),
                     std::string(difference.array), key},
                    difference.route);
        }
        print_table(table);
    }

    void finish() override
    {
        if (!has_sections_)
            print_line("\nNothing else differs.");
    }

private:
    static constexpr std::size_t narrowest_route = 30;
    static constexpr std::size_t narrowest_place = 16; ///< of a function or statement

    /// Returns how many rows a section has, apart from that of routes.
    [[nodiscard]] std::size_t max_rows() const { return top_.value_or(10); }

    /// Returns a table that ends with the route, for captures. `left_out`: see `TextTable::Column`.
    [[nodiscard]] TextTable table_of(std::vector<TextTable::Column> columns, std::size_t left_out) const
    {
        if (is_of_captures_)
            columns.push_back({"route", Align::left, 0, narrowest_place, left_out});
        return TextTable(std::move(columns), width_);
    }

    static void add_row(TextTable &table, std::vector<std::string> cells, MethodAndRoute const *route)
    {
        if (route != nullptr)
            cells.push_back(escaped_text(text_of(*route)));
        table.add(std::move(cells));
    }

    static std::pair<std::string, std::string> method_and_uri(RequestSummary const &request)
    {
        auto const text = [](std::optional<std::string> const &part) { return escaped_text(part.value_or("-")); };
        if (!request.start)
            return {"-", "-"};
        return {text(request.start->method), text(request.start->uri)};
    }

    void print_line(std::string_view line)
    {
        output_.write(width_ ? cut_lines(line, *width_) : line);
        output_.write("\n");
    }

    void print_table(TextTable &table)
    {
        for (auto const &line : table.take_lines())
            print_line(line);
        if (auto const text = table.left_out_text())
            output_.write(*text + '\n');
    }

    void print_heading(std::string_view name, std::size_t count)
    {
        has_sections_ = true;
        print_line(count > max_rows() ? fmt::format("\n{}: the first {} of {} differences", name, max_rows(), count)
                                      : fmt::format("\n{}", name));
    }

    Output &output_;
    std::optional<std::uint64_t> top_;
    std::optional<std::size_t> width_;
    bool is_of_captures_ = false;
    bool has_sections_ = false;
};

} // namespace

std::unique_ptr<DifferencePrinter> make_difference_text(Output &output, std::optional<std::uint64_t> top)
{
    return std::make_unique<DifferenceText>(output, top);
}

} // namespace tarnwick::program
