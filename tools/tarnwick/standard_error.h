#pragma once

#include <string_view>

namespace tarnwick::program {

/// Writes a message to standard error, without buffering and in one call, so that lines of several programs do not mix.
/// Ignores failures, because there is no other place to report them.
void print_error(std::string_view text) noexcept;

} // namespace tarnwick::program
