#include "database/cell.h"

#include <cstdint>

namespace tarnwick::program {

Cell::Cell(data::TimePair time)
{
    constexpr std::int64_t in_a_second = 1'000'000'000;
    std::int64_t nanoseconds = 0;
    if (!__builtin_mul_overflow(time.seconds, in_a_second, &nanoseconds) &&
        !__builtin_add_overflow(nanoseconds, time.nanos, &nanoseconds))
        value_ = nanoseconds;
    else
        value_ = static_cast<double>(time.seconds) * 1e9 + time.nanos;
}

} // namespace tarnwick::program
