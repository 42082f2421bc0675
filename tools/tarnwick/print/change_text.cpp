#include "print/change_text.h"

#include "print/short_text.h"
#include "requests/profile.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string_view>

namespace tarnwick::program {
namespace {

/// Returns the integer part of a number; the nearest integer of 64 bits if it is too large.
std::int64_t integer_part(double number)
{
    constexpr auto beyond = 0x1p63;
    if (number >= beyond)
        return std::numeric_limits<std::int64_t>::max();
    return number < -beyond ? std::numeric_limits<std::int64_t>::min() : static_cast<std::int64_t>(number);
}

} // namespace

data::TimePair span_of(double nanoseconds)
{
    constexpr double second = 1e9;
    auto const rounded = std::round(nanoseconds);
    auto const seconds = std::floor(rounded / second);
    auto const nanos = std::clamp(rounded - seconds * second, 0.0, second - 1);
    return {integer_part(seconds), static_cast<std::int32_t>(nanos)};
}

std::string count_text(double count)
{
    auto text = fmt::format("{:.2f}", count);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.ends_with('.'))
        text.pop_back();
    return text;
}

std::string measure_text(std::size_t measure, std::optional<double> value)
{
    if (!value)
        return "-";
    if (measure == duration_measure)
        return short_span_text(span_of(*value));
    if (measure == memory_measure)
        return short_size_text(integer_part(*value));
    return count_text(*value);
}

std::string growth_text(double a, double b)
{
    constexpr double rounded_to_none = 0.05;
    auto const percent = (b - a) / std::abs(a) * 100;
    if (a == 0 || std::abs(percent) < rounded_to_none)
        return {};
    return fmt::format("{:+.{}f} %", percent, std::abs(percent) < 100 ? 1 : 0);
}

std::string change_text(std::string const &a, std::string const &b)
{
    return a == b ? a : fmt::format("{} → {}", a, b);
}

} // namespace tarnwick::program
