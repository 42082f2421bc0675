#pragma once

#include <tarnwick/data/description.h>

#include <cstdint>

namespace tarnwick::data {

/// A point in time or a span of time, exactly as sent: neither normalised nor checked, so `nanos` can be negative or
/// above 999,999,999. An absent time is 0, 0, and so is one that was sent as zero.
struct TimePair {
    std::int64_t seconds = 0;
    std::int32_t nanos = 0;

    friend bool operator==(TimePair const &, TimePair const &) = default;
};

} // namespace tarnwick::data
