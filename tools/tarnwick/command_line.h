#pragma once

namespace tarnwick::program {

/// The program: reads the command line, runs the sub-command that it names, gives the exit status.
int run(int argc, char const *const *argv);

} // namespace tarnwick::program
