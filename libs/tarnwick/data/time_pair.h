#pragma once

#include <tarnwick/data/description.h>

#include <cstdint>

namespace tarnwick::data {

/// A point in time or a span of time exactly as a message carried it: neither normalised nor checked, so `nanos` can be
/// negative or above 999,999,999. A time that no message carried is 0, 0, as is one that was sent as zero.
struct TimePair {
    std::int64_t seconds = 0;
    std::int32_t nanos = 0;

    friend bool operator==(TimePair const &, TimePair const &) = default;
};

} // namespace tarnwick::data
