#pragma once

// Not installed.

#include <fmt/format.h>

#include <string>

namespace tarnwick::data {

/// A double for people: the shortest text that reads back, apart from an integer also where nothing stands behind the
/// point.
inline std::string double_text(double value)
{
    auto shortest = fmt::to_string(value);
    if (shortest.find_first_not_of("-0123456789") == std::string::npos)
        shortest += ".0";
    return shortest;
}

} // namespace tarnwick::data
