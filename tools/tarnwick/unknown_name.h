#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program {

/// Returns the message `<what> '<name>'`, and the nearest of the known names.
std::invalid_argument unknown_name(std::string_view what, std::string_view name, std::vector<std::string> const &known);

} // namespace tarnwick::program
