#pragma once

#include <string>

namespace tarnwick::program {

/// What the system calls an `errno`, like `No such file or directory`. Threads may call it at the same time.
std::string error_text(int error);

} // namespace tarnwick::program
