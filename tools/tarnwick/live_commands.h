#pragma once

#include "command_options.h"
#include "keys.h"
#include "record.h"
#include "replay.h"

#include <string>
#include <vector>

namespace tarnwick::program {

/// Arguments of `record`, as they are written.
struct RecordArguments {
    std::vector<std::string> endpoints;
    std::string rotate;
    std::string max_frame;
};

/// The options of the commands that receive and send frames, and of `keys`.
struct LiveCommands {
    RecordOptions record;
    RecordArguments record_arguments;
    ReplayOptions replay;
    std::vector<std::string> replay_places; ///< the files and the endpoint
    KeysOptions keys;
};

/// Adds these commands. Parsing sets `options` and `command`.
void add_live_commands(CLI::App &app, LiveCommands &options, Command &command);

} // namespace tarnwick::program
