#pragma once

#include "exit_status.h"

#include <string>
#include <vector>

namespace tarnwick::program {

struct RecoverOptions {
    std::vector<std::string> files{"-"}; ///< `-` is standard input
    std::string output = "-";            ///< a file to create; `-` is standard output
};

/// Writes the frames of captures to one capture, and reports faults with their places to standard error. Throws
/// `WriteError` and `BrokenPipe`.
ExitStatus recover(RecoverOptions const &options);

} // namespace tarnwick::program
