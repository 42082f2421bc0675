#pragma once

#include <string_view>

namespace tarnwick::program {

/// Writes to standard error what is no result: at once, and in one piece so that lines of several programs stay whole.
/// That it cannot be written is ignored, since there is nowhere left to say so.
void print_error(std::string_view text) noexcept;

} // namespace tarnwick::program
