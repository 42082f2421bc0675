#pragma once

#include "command_options.h"
#include "record.h"

#include <string>
#include <vector>

namespace tarnwick::program {

struct RecordArguments {
    std::vector<std::string> endpoints;
    std::string rotate;
    std::string max_frame;
};

/// The options of the commands that receive and send frames.
struct LiveCommands {
    RecordOptions record;
    RecordArguments record_arguments;
};

/// Adds the commands that receive and send frames. Parsing sets `options` and `command`.
void add_live_commands(CLI::App &app, LiveCommands &options, Command &command);

} // namespace tarnwick::program
