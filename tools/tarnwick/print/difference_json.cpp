#include "print/change_text.h"
#include "print/difference_printer.h"
#include "print/json_writer.h"
#include "requests/request_columns.h"

#include <fmt/format.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <ranges>
#include <string>
#include <string_view>

namespace tarnwick::program {
namespace {

/// Prints each difference as a JSON object on a line.
class DifferenceJson : public DifferencePrinter {
public:
    DifferenceJson(Output &output, std::optional<std::uint64_t> top, JsonStyle style)
        : output_(output)
        , top_(top.value_or(UINT64_MAX))
        , json_(style)
    {
    }

    void print_requests(ComparedRequest const &a, ComparedRequest const &b) override
    {
        begin("request");
        write_side("a", &a, [this](ComparedRequest const &request) { write(request); });
        write_side("b", &b, [this](ComparedRequest const &request) { write(request); });
        end();
    }

    void print_captures(ComparedCapture const & /*a*/, ComparedCapture const & /*b*/,
                        std::vector<RouteDifference> const &routes) override
    {
        for (auto const &route : routes | std::views::take(top_)) {
            begin("route");
            write_text("change", std::string(name_of(route.change)));
            write_route(&route.route);
            write_side("a", route.a, [this](Profile const &profile) { write(profile); });
            write_side("b", route.b, [this](Profile const &profile) { write(profile); });
            end();
        }
    }

    void print(std::vector<ActivityDifference> const &differences) override
    {
        for (auto const &difference : differences | std::views::take(top_)) {
            begin(name_of(difference.kind));
            write_text("change", std::string(name_of(difference.change)));
            write_route(difference.route);
            write_text("name", difference.name);
            auto const write_amount = [&](Amount const &amount) { write(amount, difference.kind); };
            write_side("a", difference.a ? &*difference.a : nullptr, write_amount);
            write_side("b", difference.b ? &*difference.b : nullptr, write_amount);
            end();
        }
    }

    void print(std::vector<KeyDifference> const &differences) override
    {
        for (auto const &difference : differences | std::views::take(top_)) {
            begin("key");
            write_text("change", std::string(name_of(difference.is_in_b ? Change::only_in_b : Change::only_in_a)));
            write_route(difference.route);
            write_text("array", std::string(difference.array));
            json_.field("key");
            json_.begin_list();
            for (auto const &part : difference.path)
                json_.bytes(part);
            json_.end_list();
            end();
        }
    }

    void finish() override {}

private:
    void begin(std::string_view kind)
    {
        json_.begin_record({});
        json_.field("kind");
        json_.bytes(kind);
    }

    void end()
    {
        json_.end_record();
        output_.write(json_.line());
        output_.write("\n");
        json_.clear();
    }

    void write_text(std::string_view name, std::string const &text)
    {
        json_.field(name);
        json_.bytes(text);
    }

    void write_optional_text(std::string_view name, std::optional<std::string> const &text)
    {
        json_.field(name);
        if (text)
            json_.bytes(*text);
        else
            json_.absent();
    }

    /// Writes the members of a route; nothing for two requests.
    void write_route(MethodAndRoute const *route)
    {
        if (route == nullptr)
            return;
        auto const &[method, path] = *route;
        bool const has_start = !method.empty() || !path.empty();
        write_optional_text("method", has_start ? std::optional(method) : std::nullopt);
        write_optional_text("route", has_start ? std::optional(path) : std::nullopt);
    }

    /// Writes an object for a side that exists, otherwise null.
    template <class Side, class Write>
    void write_side(std::string_view name, Side const *side, Write const &write_fields)
    {
        json_.field(name);
        if (side == nullptr) {
            json_.absent();
            return;
        }
        json_.begin_record({});
        write_fields(*side);
        json_.end_record();
    }

    void write_number(double number)
    {
        if (std::abs(number) <= static_cast<double>(exact_in_double) && std::trunc(number) == number)
            json_.integer(static_cast<std::int64_t>(number));
        else
            json_.real(number);
    }

    void write(ComparedRequest const &request)
    {
        write_text("file", request.file);
        for (auto const &column : request_columns()) {
            json_.field(column.name, column.sense);
            column.write(json_, request.activity);
        }
    }

    void write(Profile const &profile)
    {
        json_.field("requests");
        json_.integer(profile.requests());
        for (std::size_t i = 0; i < measures.size(); ++i) {
            json_.field(measures[i]);
            auto const mean = profile.mean(i);
            if (!mean)
                json_.absent();
            else if (i == duration_measure)
                json_.time(span_of(*mean));
            else
                write_number(*mean);
        }
        json_.field("statuses");
        json_.begin_record({});
        for (auto const &[status, count] : profile.statuses()) {
            json_.field(fmt::to_string(status));
            json_.integer(count);
        }
        json_.end_record();
    }

    void write(Amount const &amount, ActivityKind kind)
    {
        json_.field("count");
        write_number(amount.count);
        if (kind == ActivityKind::function || kind == ActivityKind::statement) {
            json_.field("time");
            json_.time(span_of(amount.nanoseconds));
        }
    }

    Output &output_;
    std::uint64_t top_;
    JsonWriter json_;
};

} // namespace

std::unique_ptr<DifferencePrinter> make_difference_json(Output &output, std::optional<std::uint64_t> top,
                                                        JsonStyle style)
{
    return std::make_unique<DifferenceJson>(output, top, style);
}

} // namespace tarnwick::program
