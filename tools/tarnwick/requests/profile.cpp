#include "requests/profile.h"

#include "requests/request_columns.h"

#include <variant>

namespace tarnwick::program {

void Profile::add(RequestActivity const &request)
{
    ++requests_;
    for (std::size_t i = 0; i < measures.size(); ++i) {
        auto const value = request_column(measures[i]).value(request);
        if (auto const *number = std::get_if<long double>(&value)) {
            sums_[i].total += static_cast<double>(*number);
            ++sums_[i].values;
        }
    }
    if (request.end)
        ++statuses_[request.end->status];
    for (auto const kind : activity_kinds) {
        auto &totals = totals_[static_cast<std::size_t>(kind)];
        for (auto const &[name, amount] : request.of(kind))
            totals[name] += amount;
    }
    tarnwick::program::add(keys_, request.keys.counted());
}

Amounts Profile::means(ActivityKind kind) const
{
    auto means = totals_[static_cast<std::size_t>(kind)];
    for (auto &[name, amount] : means)
        amount = amount * (1 / static_cast<double>(requests_));
    return means;
}

std::optional<double> Profile::mean(std::size_t measure) const
{
    auto const &sum = sums_[measure];
    return sum.values == 0 ? std::nullopt : std::optional(sum.total / static_cast<double>(sum.values));
}

} // namespace tarnwick::program
