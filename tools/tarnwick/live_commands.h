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

/// Arguments of `replay`, as they are written.
struct ReplayArguments {
    std::vector<std::string> places;
    std::vector<std::string> conditions;
};

/// The options of the commands that receive and send frames, and of `keys`.
struct LiveCommands {
    RecordOptions record;
    RecordArguments record_arguments;
    ReplayOptions replay;
    ReplayArguments replay_arguments;
    KeysOptions keys;
};

/// Adds these commands. Parsing sets `options` and `command`.
void add_live_commands(CLI::App &app, LiveCommands &options, Command &command);

} // namespace tarnwick::program
