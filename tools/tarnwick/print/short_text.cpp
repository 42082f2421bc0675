#include "print/short_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string_view>

namespace tarnwick::program {
namespace {

/// Returns a value of at least 0 with three significant digits, in the largest unit in which it is at least 1.
template <std::size_t count>
std::string scaled(double value, std::array<std::string_view, count> const &units)
{
    std::size_t unit = 0;
    // 999.5 would print as 1000.
    for (; value >= 999.5 && unit + 1 < count; ++unit)
        value /= 1000;
    int const digits = unit == 0 ? 0 : (value < 9.995 ? 2 : (value < 99.95 ? 1 : 0));
    return fmt::format("{:.{}f} {}", value, digits, units[unit]);
}

} // namespace

std::string short_instant_text(data::TimePair value)
{
    auto const text = instant_text(value);
    constexpr std::string_view rest = "582572 UTC"; // digits of nanoseconds, and the zone
    return text.ends_with(" UTC") ? text.substr(0, text.size() - rest.size()) : text;
}

std::string short_span_text(data::TimePair value)
{
    if (!is_normal(value) || value.seconds < 0)
        return stored_text(value);
    if (value.seconds >= 1000)
        return fmt::format("{} s", value.seconds);
    return scaled(static_cast<double>(value.seconds) * 1e9 + value.nanos,
                  std::array<std::string_view, 4>{"ns", "µs", "ms", "s"});
}

std::string short_size_text(std::int64_t bytes)
{
    if (bytes < 0)
        return fmt::format("{} B", bytes);
    return scaled(static_cast<double>(bytes), std::array<std::string_view, 5>{"B", "kB", "MB", "GB", "TB"});
}

std::string_view start_of_text(std::string_view text, std::size_t max_bytes)
{
    if (text.size() <= max_bytes)
        return text;
    auto end = max_bytes;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0U) == 0x80U)
        --end;
    return text.substr(0, end);
}

std::string cut_text(std::string_view text, std::size_t max_bytes)
{
    auto const start = start_of_text(text, max_bytes);
    return std::string(start) + (start.size() < text.size() ? "…" : "");
}

std::string iso_text(data::TimePair value)
{
    auto text = instant_text(value);
    constexpr std::string_view zone = " UTC";
    if (!text.ends_with(zone))
        return seconds_text(value);
    text.replace(text.size() - zone.size(), zone.size(), "Z");
    std::ranges::replace(text, ' ', 'T');
    return text;
}

std::string seconds_text(data::TimePair value)
{
    if (!is_normal(value))
        return stored_text(value);
    if (value.seconds >= 0 || value.nanos == 0)
        return fmt::format("{}.{:09}", value.seconds, value.nanos);
    return fmt::format("{}{}.{:09}", value.seconds == -1 ? "-" : "", value.seconds + 1, 1'000'000'000 - value.nanos);
}

} // namespace tarnwick::program
