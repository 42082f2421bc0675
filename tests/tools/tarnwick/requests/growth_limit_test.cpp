#include "requests/growth_limit.h"

#include "support/table.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

namespace tarnwick::program::growth_limit_test {
namespace {

/// Returns the profile of a request with a duration in milliseconds, a memory in bytes and a number of errors.
Profile profile(std::int32_t milliseconds, std::int64_t memory, std::uint64_t errors)
{
    RequestActivity request;
    request.end = {.status = 200, .duration = {0, milliseconds * 1'000'000}, .memory = memory};
    request.errors[0] = errors;
    Profile profile;
    profile.add(request);
    return profile;
}

struct Row {
    char const *name;
    std::string limit;
    bool is_exceeded;
};

using GrowthLimits = test::TableTest<Row>;

TEST_P(GrowthLimits, compare_the_growth_with_an_amount)
{
    EXPECT_EQ(GrowthLimit(GetParam().limit).is_exceeded(profile(100, 1'000'000, 0), profile(120, 900'000, 1)),
              GetParam().is_exceeded);
}

Row const limits[] = {
    {"percentage_above", "duration>19.9%", true},
    {"percentage_equal", "duration>20%", false},
    {"percentage_below", "duration>21%", false},
    {"time_above", "duration>19ms", true},
    {"time_equal", "duration>20ms", false},
    {"size_that_shrinks", "memory>0", false},
    {"percentage_that_shrinks", "memory>0%", false},
    {"count", "errors>0", true},
    {"count_equal", "errors>1", false},
    {"percentage_of_nothing", "errors>1000%", true},
    {"percentage_of_nothing_that_stays", "events>0%", false},
};
INSTANTIATE_TEST_SUITE_P(Of, GrowthLimits, test::rows(limits), test::by_name);

TEST(GrowthLimit, is_not_checked_without_a_value_on_both_sides)
{
    Profile without_end;
    without_end.add(RequestActivity());
    GrowthLimit const limit("duration>20%");
    EXPECT_EQ(limit.is_exceeded(without_end, profile(1, 1, 1)), std::nullopt);
    EXPECT_EQ(limit.is_exceeded(profile(1, 1, 1), without_end), std::nullopt);
    EXPECT_EQ(limit.is_exceeded(Profile(), Profile()), std::nullopt);
}

struct FaultRow {
    char const *name;
    std::string limit;
    std::string message;
};

using GrowthLimitFaults = test::TableTest<FaultRow>;

TEST_P(GrowthLimitFaults, are_reported)
{
    EXPECT_THAT([] { return GrowthLimit(GetParam().limit); },
                testing::ThrowsMessage<std::invalid_argument>(GetParam().message));
}

FaultRow const faults[] = {
    {"no_operator", "duration", "'duration' is not a limit: write NAME>AMOUNT or NAME>N%, such as 'duration>20%'"},
    {"empty", "", "'' is not a limit: write NAME>AMOUNT or NAME>N%, such as 'duration>20%'"},
    {"other_operator", "duration<20%",
     "'duration<20%' is not a limit: write NAME>AMOUNT or NAME>N%, such as 'duration>20%'"},
    {"two_operators", "duration>=20%",
     "'duration>=20%' is not a limit: write NAME>AMOUNT or NAME>N%, such as 'duration>20%'"},
    {"unknown_name", "memroy>1", "no limit is possible for 'memroy'; did you mean 'memory'?"},
    {"time_without_a_unit", "duration>20",
     "duration is a length of time with a unit (ns, us, ms, s, min or h), not '20'"},
    {"no_number", "errors>x%", "errors is a number, optionally with a unit such as kB, MB or MiB, not 'x'"},
};
INSTANTIATE_TEST_SUITE_P(Of, GrowthLimitFaults, test::rows(faults), test::by_name);

} // namespace
} // namespace tarnwick::program::growth_limit_test
