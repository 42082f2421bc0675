#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program {

enum class IfNoneIsNear { nothing, list };

/// Returns the message `<what> '<name>'`, and the nearest of the known names. `if_none_is_near`: whether to list all names
/// if none is near.
std::invalid_argument unknown_name(std::string_view what, std::string_view name, std::vector<std::string> const &known,
                                   IfNoneIsNear if_none_is_near = IfNoneIsNear::nothing);

} // namespace tarnwick::program
