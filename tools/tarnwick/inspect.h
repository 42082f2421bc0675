#pragma once

#include "exit_status.h"
#include "print/terminal.h"

#include <string>
#include <vector>

namespace tarnwick::program {

enum class Format { automatic, text, jsonl };

struct InspectOptions {
    std::vector<std::string> files{"-"}; ///< `-` is standard input
    Format format = Format::automatic;
    Color color = Color::automatic;
    bool all_records = false;
};

/// Prints the records that the frames of captures feed to standard output, and what is wrong with them, with its place,
/// to standard error. Returns the exit status; throws `WriteError` and `ReaderGone`.
ExitStatus inspect(InspectOptions const &options);

} // namespace tarnwick::program
