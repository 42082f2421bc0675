#include "requests/difference.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tarnwick::program::difference_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Returns `CHANGE NAME` of each difference.
std::vector<std::string> changes(std::vector<ActivityDifference> const &differences)
{
    std::vector<std::string> texts;
    texts.reserve(differences.size());
    for (auto const &difference : differences)
        texts.push_back(std::string(name_of(difference.change)) + ' ' + difference.name);
    return texts;
}

/// Returns the routes with their changes.
std::vector<std::string> changes(std::vector<RouteDifference> const &differences)
{
    std::vector<std::string> texts;
    texts.reserve(differences.size());
    for (auto const &difference : differences)
        texts.push_back(std::string(name_of(difference.change)) + ' ' + difference.route.second);
    return texts;
}

/// A request that calls function 0.
RequestActivity request(double calls, double nanoseconds, std::int32_t duration)
{
    RequestActivity request;
    request.end = {.status = 200, .duration = {0, duration}, .memory = 0};
    request.amounts[0][0] = Amounts{{0, {calls, nanoseconds}}};
    return request;
}

TEST(Activities, differ_by_time_first_if_they_are_functions)
{
    NameTable names;
    Amounts a;
    Amounts b;
    auto const add = [&](std::string const &name, Amount amount_a, Amount amount_b) {
        a[names.number_of(name)] = amount_a;
        b[names.number_of(name)] = amount_b;
    };
    add("slow", {2, 10}, {1, 90});
    add("fast", {1, 50}, {2, 10});
    add("often", {1, 5}, {3, 5});
    add("rare", {3, 5}, {2, 5});
    add("same", {1, 5}, {1, 5});
    a[names.number_of("old")] = {1, 20};
    b[names.number_of("young")] = {1, 30};
    EXPECT_THAT(changes(compare(ActivityKind::function, a, b, names)),
                ElementsAre("slower slow", "faster fast", "new young", "gone old", "more often", "fewer rare"));
    EXPECT_THAT(changes(compare(ActivityKind::statement, a, b, names)),
                ElementsAre("fewer slow", "more fast", "new young", "gone old", "more often", "fewer rare"));
}

TEST(Activities, do_not_differ_by_rounding)
{
    NameTable names;
    Amounts const a{{names.number_of("f"), {0.1 + 0.2, 1e9 / 3 * 3}}};
    Amounts const b{{names.number_of("f"), {0.3, 1e9}}};
    EXPECT_THAT(compare(ActivityKind::function, a, b, names), IsEmpty());
}

TEST(Routes, have_an_order_by_the_change_of_their_duration)
{
    Profiles a;
    Profiles b;
    for (auto const &[route, duration] : {std::pair("/a", 10), std::pair("/b", 50), std::pair("/c", 20)}) {
        a[{"GET", route}].add(request(1, 1, duration));
        b[{"GET", route}].add(request(1, 1, 20));
    }
    a[{"GET", "/old"}].add(request(1, 1, 1));
    b[{"GET", "/young"}].add(request(1, 1, 1));
    EXPECT_THAT(changes(compare(a, b)), ElementsAre("faster /b", "slower /a", "same /c", "new /young", "gone /old"));
}

TEST(Routes, have_differences_of_their_mean_amounts)
{
    NameTable names;
    names.number_of("f"); // function 0
    Profiles a;
    Profiles b;
    // The changes of both routes cancel each other in the sum of all requests.
    a[{"GET", "/slower"}].add(request(1, 10, 1));
    a[{"GET", "/faster"}].add(request(1, 30, 1));
    b[{"GET", "/slower"}].add(request(1, 20, 1));
    b[{"GET", "/slower"}].add(request(1, 40, 1));
    b[{"GET", "/faster"}].add(request(1, 10, 1));
    a[{"GET", "/old"}].add(request(1, 10, 1));
    b[{"GET", "/young"}].add(request(1, 10, 1));
    auto const routes = compare(a, b);
    auto const differences = compare(ActivityKind::function, routes, names);
    EXPECT_THAT(changes(differences), ElementsAre("faster f", "slower f"));
    EXPECT_EQ(differences[0].route->second, "/faster");
    EXPECT_EQ(differences[1].route->second, "/slower");
    EXPECT_DOUBLE_EQ(differences[1].a->nanoseconds, 10);
    EXPECT_DOUBLE_EQ(differences[1].b->nanoseconds, 30);
    EXPECT_DOUBLE_EQ(differences[1].b->count, 1);
}

TEST(Profile, has_means_of_the_requests_that_have_a_value)
{
    Profile profile;
    profile.add(request(1, 1, 10));
    profile.add(request(1, 1, 30));
    profile.add(RequestActivity());
    EXPECT_EQ(profile.requests(), 3U);
    EXPECT_EQ(profile.mean(duration_measure), 20);
    EXPECT_EQ(profile.mean(statements_measure), 0);
}

} // namespace
} // namespace tarnwick::program::difference_test
