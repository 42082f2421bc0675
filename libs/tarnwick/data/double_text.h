#pragma once

// Not installed.

#include <fmt/format.h>

#include <string>

namespace tarnwick::data {

/// Formats a double for people: the shortest text that reads back as the same number. `.0` is appended where the text
/// would look like an integer.
inline std::string double_text(double value)
{
    auto shortest = fmt::to_string(value);
    if (shortest.find_first_not_of("-0123456789") == std::string::npos)
        shortest += ".0";
    return shortest;
}

} // namespace tarnwick::data
