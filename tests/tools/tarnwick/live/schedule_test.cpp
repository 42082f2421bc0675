#include "live/schedule.h"

#include "support/table.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick::program {
namespace {

using namespace std::chrono_literals;
using data::TimePair;

using Received = std::optional<TimePair>;

constexpr auto first_second = std::numeric_limits<std::int64_t>::min();
constexpr auto last_second = std::numeric_limits<std::int64_t>::max();

struct Timing {
    std::string name;
    Pace pace;
    std::vector<Received> received;
    std::vector<std::chrono::nanoseconds> due;
};

class Schedules : public test::TableTest<Timing> {};

TEST_P(Schedules, frames_by_their_times)
{
    Schedule schedule(GetParam().pace);
    std::vector<std::chrono::nanoseconds> due;
    for (auto const &received : GetParam().received)
        due.push_back(schedule.next(received));
    EXPECT_EQ(due, GetParam().due);
}

INSTANTIATE_TEST_SUITE_P(
    Timings, Schedules,
    testing::Values(
        Timing{"first_frame_at_once", {}, {TimePair{1'700'000'000, 5}}, {0ns}},
        Timing{"original_intervals",
               {},
               {TimePair{1'700'000'000, 0}, TimePair{1'700'000'000, 1}, TimePair{1'700'000'002, 500'000'000}},
               {0ns, 1ns, 2'500ms}},
        Timing{"equal_times", {}, {TimePair{7, 0}, TimePair{7, 0}}, {0ns, 0ns}},
        Timing{"twice_as_fast",
               {.speed = 2, .rate = {}},
               {TimePair{7, 0}, TimePair{8, 0}, TimePair{10, 0}},
               {0ns, 500ms, 1'500ms}},
        Timing{"half_as_fast", {.speed = 0.5, .rate = {}}, {TimePair{7, 0}, TimePair{8, 0}}, {0ns, 2s}},
        Timing{"fixed_rate", {.rate = 4}, {TimePair{9, 0}, TimePair{1, 0}, std::nullopt}, {0ns, 250ms, 500ms}},
        Timing{"rate_instead_of_speed", {.speed = 2, .rate = 4}, {std::nullopt, std::nullopt}, {0ns, 250ms}},
        Timing{"slow_rate", {.rate = 0.5}, {std::nullopt, std::nullopt}, {0ns, 2s}},
        Timing{"no_times", {}, {std::nullopt, std::nullopt}, {0ns, 0ns}},
        Timing{"first_time_after_frames_without", {}, {std::nullopt, TimePair{9, 0}, TimePair{10, 0}}, {0ns, 0ns, 1s}},
        Timing{"frame_without_a_time_between",
               {},
               {TimePair{1, 0}, TimePair{2, 0}, std::nullopt, TimePair{4, 0}},
               {0ns, 1s, 1s, 3s}},
        Timing{"back_in_time",
               {},
               {TimePair{100, 0}, TimePair{101, 0}, TimePair{50, 0}, TimePair{53, 0}},
               {0ns, 1s, 1s, 4s}},
        Timing{"before_1970", {}, {TimePair{-2, 0}, TimePair{1, 0}}, {0ns, 3s}},
        Timing{"gap_of_a_year", {}, {TimePair{0, 0}, TimePair{31'536'000, 0}}, {0ns, 8'760h}},
        Timing{"largest_gap", {}, {TimePair{first_second, 0}, TimePair{last_second, 0}}, {0ns, Schedule::max_time}},
        Timing{
            "largest_gap_twice",
            {},
            {TimePair{first_second, 0}, TimePair{last_second, 0}, TimePair{first_second, 0}, TimePair{last_second, 0}},
            {0ns, Schedule::max_time, Schedule::max_time, Schedule::max_time}},
        Timing{"largest_step_back", {}, {TimePair{last_second, 0}, TimePair{first_second, 0}}, {0ns, 0ns}},
        Timing{"nanoseconds_out_of_range",
               {},
               {TimePair{1, 0}, TimePair{1, 2'000'000'000}, TimePair{1, -5}, TimePair{1, -4}},
               {0ns, 2s, 2s, 2s + 1ns}},
        Timing{"slowest_speed",
               {.speed = std::numeric_limits<long double>::denorm_min(), .rate = {}},
               {TimePair{1, 0}, TimePair{2, 0}, TimePair{3, 0}},
               {0ns, Schedule::max_time, Schedule::max_time}},
        Timing{"slowest_rate",
               {.rate = std::numeric_limits<long double>::denorm_min()},
               {std::nullopt, std::nullopt, std::nullopt},
               {0ns, Schedule::max_time, Schedule::max_time}},
        Timing{"fastest_rate",
               {.rate = std::numeric_limits<long double>::max()},
               {std::nullopt, std::nullopt},
               {0ns, 0ns}}),
    test::by_name);

} // namespace
} // namespace tarnwick::program
