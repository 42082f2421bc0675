#pragma once

namespace tarnwick::program {

/// Parses the command line and runs its command. Returns the exit status.
int run(int argc, char const *const *argv);

} // namespace tarnwick::program
