#pragma once

#include <tarnwick/data/time_pair.h>

#include <chrono>
#include <optional>

namespace tarnwick::program {

/// How fast frames are sent.
struct Pace {
    long double speed = 1; ///< divides the times between frames; positive
    /// Frames a second, whatever their times; positive.
    std::optional<long double> rate = {}; // NOLINT(readability-redundant-member-init): designators leave it out
};

/// Computes when the frames of captures are sent. Has no clock.
class Schedule {
public:
    /// The latest time that a frame is sent at.
    static constexpr std::chrono::nanoseconds max_time = std::chrono::hours(24 * 365 * 100);

    explicit Schedule(Pace pace)
        : pace_(pace)
    {
    }

    /// Returns when to send the next frame, counted from the first. `received`: the time of the frame, if it has one. A
    /// frame without a time, or with an earlier one than the previous frame, is due at once after the previous frame.
    std::chrono::nanoseconds next(std::optional<data::TimePair> received);

private:
    Pace pace_;
    bool has_begun_ = false;
    std::optional<long double> last_received_; ///< in nanoseconds
    long double due_ = 0;                      ///< in nanoseconds
};

} // namespace tarnwick::program
