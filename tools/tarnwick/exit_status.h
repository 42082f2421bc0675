#pragma once

namespace tarnwick::program {

/// Exit status of the program. If several apply, the largest is used.
enum ExitStatus : int {
    success = 0,
    input_fault = 1, ///< the input has a fault
    wrong_usage = 2,
    file_failure = 3,   ///< a file cannot be read or written
    limit_exceeded = 4, ///< of `diff --fail-if`, `query --timeout` or `query --max-rows`
    broken_pipe = 141,  ///< the status that a shell reports for a program that SIGPIPE ended
};

} // namespace tarnwick::program
