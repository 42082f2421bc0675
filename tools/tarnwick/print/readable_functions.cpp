#include "print/readable_functions.h"

#include "print/bar.h"
#include "print/readable_text.h"
#include "print/text_table.h"

#include <tarnwick/data/walk.h>

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

namespace tarnwick::program {
namespace {

using data::glimmet::FunctionStats;

// The table must have every field.
static_assert(std::tuple_size_v<decltype(data::Description<FunctionStats>::fields)> == 6);

double seconds(data::TimePair time)
{
    return static_cast<double>(time.seconds) + static_cast<double>(time.nanos) * 1e-9;
}

std::string name_and_place(FunctionStats const &function, Masks const &masks)
{
    auto text = quoted_text(masks.name(function.name().toStdString()));
    if (auto const &location = function.location())
        text += " at " + place_text(*location, masks);
    return text;
}

} // namespace

void write_readable(ReadableWriter &writer, data::glimmet::detail::Functions const &record, Masks const &masks)
{
    writer.field("request_id", data::Sense::plain);
    data::walk(writer, record.request_id());
    writer.field("functions", data::Sense::plain);
    std::vector<FunctionStats const *> functions;
    for (auto const &function : record.functions())
        functions.push_back(&function);
    if (functions.empty()) {
        data::walk(writer, record.functions());
        return;
    }
    std::ranges::stable_sort(functions, std::ranges::greater(),
                             [](auto const *function) { return seconds(function->time_first()); });

    auto const longest = seconds(functions.front()->time_first());
    constexpr auto left = TextTable::Align::left;
    TextTable table({{"time_first"}, {"", left}, {"time_second"}, {"count"}, {"function", left}});
    for (auto const *function : functions) {
        auto const time = seconds(function->time_first());
        table.add({span_text(function->time_first()), time > 0 ? bar(time / longest) : "",
                   span_text(function->time_second()), fmt::to_string(function->count()),
                   name_and_place(*function, masks)});
    }
    for (auto const &line : table.take_lines())
        writer.row(line);
}

} // namespace tarnwick::program
