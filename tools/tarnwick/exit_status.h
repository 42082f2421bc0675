#pragma once

namespace tarnwick::program {

/// What the program tells its caller. Of several, the largest.
enum ExitStatus : int {
    done = 0,
    input_fault = 1, ///< the input has a fault, said with its place
    wrong_usage = 2,
    file_failure = 3,  ///< a file cannot be read or written
    reader_gone = 141, ///< as a shell reports a program that SIGPIPE ended
};

} // namespace tarnwick::program
