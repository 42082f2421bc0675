#pragma once

#include <string>

namespace tarnwick::program {

/// Returns the description of an `errno`, such as `No such file or directory`. Thread-safe.
std::string error_text(int error);

} // namespace tarnwick::program
