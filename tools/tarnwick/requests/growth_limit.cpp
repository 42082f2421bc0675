#include "requests/growth_limit.h"

#include "requests/request_columns.h"
#include "unknown_name.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

namespace tarnwick::program {
namespace {

std::size_t measure_named(std::string_view name)
{
    auto const *const found = std::ranges::find(measures, name);
    if (found == measures.end())
        throw unknown_name("no limit is possible for", name,
                           std::vector<std::string>(measures.begin(), measures.end()));
    return static_cast<std::size_t>(found - measures.begin());
}

/// Returns the condition of a limit, without the sign of percent.
Condition condition_of(std::string_view text, bool is_percentage)
{
    auto const name = text.substr(0, text.find('>'));
    if (name.size() == text.size() || text.substr(name.size() + 1).starts_with('='))
        throw std::invalid_argument(
            fmt::format("'{}' is not a limit: write NAME>AMOUNT or NAME>N%, such as 'duration>20%'", text));
    auto const measure = measure_named(name);
    if (is_percentage)
        text.remove_suffix(1);
    Condition condition(text);
    condition.set_type(is_percentage ? FieldType::number : request_column(measures[measure]).type);
    return condition;
}

} // namespace

GrowthLimit::GrowthLimit(std::string_view text)
    : text_(text)
    , is_percentage_(text.ends_with('%'))
    , condition_(condition_of(text, is_percentage_))
{
    measure_ = measure_named(condition_.field());
}

std::optional<bool> GrowthLimit::is_exceeded(Profile const &a, Profile const &b) const
{
    auto const mean_a = a.mean(measure_);
    auto const mean_b = b.mean(measure_);
    if (!mean_a || !mean_b)
        return std::nullopt;
    long double growth = static_cast<long double>(*mean_b) - *mean_a;
    if (is_percentage_ && *mean_a == 0)
        growth = growth > 0 ? std::numeric_limits<long double>::infinity() : 0;
    else if (is_percentage_)
        growth = growth / std::abs(*mean_a) * 100;
    return condition_.holds(growth);
}

} // namespace tarnwick::program
