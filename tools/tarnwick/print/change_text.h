#pragma once

#include <tarnwick/data/time_pair.h>

#include <cstddef>
#include <optional>
#include <string>

namespace tarnwick::program {

/// Returns a length of time; one that is too long for seconds of 64 bits is the longest possible.
data::TimePair span_of(double nanoseconds);
/// Returns a number of calls or a mean of such numbers, with at most two digits after the point.
std::string count_text(double count);
/// Returns a value of a measure (`requests/profile.h`) for people; `-` if it is absent.
std::string measure_text(std::size_t measure, std::optional<double> value);
/// Returns how much B is larger than A, like `+30.0 %`. Empty if they are equal or A is 0.
std::string growth_text(double a, double b);
/// Returns `A → B`, or one of them if they are equal.
std::string change_text(std::string const &a, std::string const &b);

} // namespace tarnwick::program
