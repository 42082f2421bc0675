#pragma once

#include <optional>
#include <string_view>

namespace tarnwick::program {

/// Reads a number, which can have a unit of size: `16MB` is 16 * 10^6, `1MiB` is 2^20. Returns nothing for other texts.
std::optional<long double> read_size(std::string_view text);
/// Reads a length of time with its unit, such as `200ms`, in nanoseconds. Returns nothing for other texts.
std::optional<long double> read_span(std::string_view text);

} // namespace tarnwick::program
