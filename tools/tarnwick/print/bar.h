#pragma once

#include <string>

namespace tarnwick::program {

/// Returns a bar with this fraction, from 0 to 1, of the full width, in eighths of a character.
std::string bar(double fraction);

} // namespace tarnwick::program
