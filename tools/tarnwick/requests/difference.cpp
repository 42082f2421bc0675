#include "requests/difference.h"

#include "requests/route.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

namespace tarnwick::program {
namespace {

Change activity_change(ActivityKind kind, Amount const &a, Amount const &b)
{
    auto const by_time = change_of(a.nanoseconds, b.nanoseconds, Change::slower, Change::faster);
    auto const by_count = change_of(a.count, b.count, Change::more, Change::fewer);
    auto const &[first, second] =
        kind == ActivityKind::function ? std::pair(by_time, by_count) : std::pair(by_count, by_time);
    return first == Change::same ? second : first;
}

std::optional<Amount> amount_of(Amounts const &amounts, std::uint32_t name)
{
    auto const found = amounts.find(name);
    return found == amounts.end() ? std::nullopt : std::optional(found->second);
}

/// Returns the keys of an order in which large differences are first.
auto activity_order(ActivityDifference const &difference)
{
    auto const a = difference.a.value_or(Amount());
    auto const b = difference.b.value_or(Amount());
    return std::tuple(-std::abs(b.nanoseconds - a.nanoseconds), -std::abs(b.count - a.count),
                      std::string_view(difference.name));
}

auto route_order(RouteDifference const &difference)
{
    auto const duration = [](Profile const *profile) {
        return profile == nullptr ? 0 : profile->mean(duration_measure).value_or(0);
    };
    int const group = difference.a == nullptr ? 1 : difference.b == nullptr ? 2 : 0;
    return std::tuple(group, -std::abs(duration(difference.b) - duration(difference.a)), difference.route);
}

Change route_change(Profile const &a, Profile const &b)
{
    auto const duration_a = a.mean(duration_measure);
    auto const duration_b = b.mean(duration_measure);
    return duration_a && duration_b ? change_of(*duration_a, *duration_b, Change::slower, Change::faster)
                                    : Change::same;
}

} // namespace

Change change_of(double a, double b, Change if_more, Change if_less)
{
    constexpr double rounding = 1e-9;
    if (std::abs(b - a) <= rounding * std::max(std::abs(a), std::abs(b)))
        return Change::same;
    return b > a ? if_more : if_less;
}

std::vector<ActivityDifference> compare(ActivityKind kind, Amounts const &a, Amounts const &b, NameTable const &names)
{
    std::vector<ActivityDifference> differences;
    for (auto const &[name, amount_a] : a) {
        auto const amount_b = amount_of(b, name);
        auto const change = amount_b ? activity_change(kind, amount_a, *amount_b) : Change::only_in_a;
        if (change != Change::same)
            differences.push_back({kind, change, names.shown(name), amount_a, amount_b});
    }
    for (auto const &[name, amount_b] : b) {
        if (!a.contains(name))
            differences.push_back({kind, Change::only_in_b, names.shown(name), std::nullopt, amount_b});
    }
    std::ranges::sort(differences, {}, activity_order);
    return differences;
}

MethodAndRoute route_of(RequestSummary const &request)
{
    if (!request.start)
        return {};
    return {request.start->method.value_or(""), route_of(request.start->uri.value_or(""))};
}

std::string text_of(MethodAndRoute const &route)
{
    auto const &[method, path] = route;
    return method.empty() && path.empty() ? "-" : method + ' ' + path;
}

std::vector<RouteDifference> compare(Profiles const &a, Profiles const &b)
{
    std::vector<RouteDifference> differences;
    for (auto const &[route, profile_a] : a) {
        auto const found = b.find(route);
        if (found == b.end())
            differences.push_back({route, Change::only_in_a, &profile_a, nullptr});
        else
            differences.push_back({route, route_change(profile_a, found->second), &profile_a, &found->second});
    }
    for (auto const &[route, profile_b] : b) {
        if (!a.contains(route))
            differences.push_back({route, Change::only_in_b, nullptr, &profile_b});
    }
    std::ranges::sort(differences, {}, route_order);
    return differences;
}

std::vector<ActivityDifference> compare(ActivityKind kind, std::vector<RouteDifference> const &routes,
                                        NameTable const &names)
{
    std::vector<ActivityDifference> differences;
    for (auto const &route : routes) {
        if (route.a == nullptr || route.b == nullptr)
            continue;
        for (auto &difference : compare(kind, route.a->means(kind), route.b->means(kind), names)) {
            difference.route = &route.route;
            differences.push_back(std::move(difference));
        }
    }
    // Equal differences stay in the order of routes.
    std::ranges::stable_sort(differences, {}, activity_order);
    return differences;
}

} // namespace tarnwick::program
