#pragma once

#include "requests/profile.h"
#include "requests/request_activity.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarnwick::program {

/// How the second of two values, B, differs from the first, A.
enum class Change : std::uint8_t { same, only_in_b, only_in_a, slower, faster, more, fewer };

constexpr std::string_view name_of(Change change)
{
    constexpr std::array<std::string_view, 7> names{"same", "new", "gone", "slower", "faster", "more", "fewer"};
    return names[static_cast<std::size_t>(change)];
}

/// Returns whether B is larger (`if_more`) or smaller (`if_less`) than A. Differences that come from rounding are none.
Change change_of(double a, double b, Change if_more, Change if_less);

/// Method and route of requests. Both are empty for requests without a start.
using MethodAndRoute = std::pair<std::string, std::string>;
MethodAndRoute route_of(RequestSummary const &request);
/// Returns `METHOD ROUTE`; `-` for requests without a start.
std::string text_of(MethodAndRoute const &route);

/// The requests of a capture by method and route.
using Profiles = std::map<MethodAndRoute, Profile>;

/// A route of two captures.
struct RouteDifference {
    MethodAndRoute route;
    Change change;
    // Null if the capture has no such request.
    Profile const *a;
    Profile const *b;
};

/// Returns all routes: those of both captures by the difference of their mean duration, the largest first, then those
/// that only B has, then those that only A has. The result views the captures.
std::vector<RouteDifference> compare(Profiles const &a, Profiles const &b);

/// A function, statement, error or event that differs.
struct ActivityDifference {
    ActivityKind kind;
    Change change;
    std::string name; ///< masked
    // Amounts of a request; for captures, the means of the requests of a route.
    std::optional<Amount> a;
    std::optional<Amount> b;
    MethodAndRoute const *route = nullptr; ///< null for two requests
};

/// Returns what differs, the largest difference of time first, then of counts. A function is slower or faster if its
/// time differs; otherwise, and for the other kinds first, the counts decide.
std::vector<ActivityDifference> compare(ActivityKind kind, Amounts const &a, Amounts const &b, NameTable const &names);
/// The same for each route that both captures have. The result views `routes`.
std::vector<ActivityDifference> compare(ActivityKind kind, std::vector<RouteDifference> const &routes,
                                        NameTable const &names);

} // namespace tarnwick::program
