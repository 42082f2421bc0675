#include "live/schedule.h"

#include "requests/condition.h"

#include <algorithm>
#include <cstdint>

namespace tarnwick::program {

// Floating point does not overflow, whatever the times in a damaged frame are. It is exact up to 292 years.
std::chrono::nanoseconds Schedule::next(std::optional<data::TimePair> received)
{
    if (pace_.rate) {
        due_ += has_begun_ ? 1e9L / *pace_.rate : 0;
    } else if (received) {
        auto const time = nanoseconds(*received);
        due_ += std::max(0.0L, time - last_received_.value_or(time)) / pace_.speed;
        last_received_ = time;
    }
    has_begun_ = true;
    return std::chrono::nanoseconds(
        static_cast<std::int64_t>(std::min(due_, static_cast<long double>(max_time.count()))));
}

} // namespace tarnwick::program
