#pragma once

#include "command_options.h"
#include "config_options.h"

namespace tarnwick::program {

/// Adds `config` and its commands. Parsing sets `options` and `command`.
void add_config_commands(CLI::App &app, ConfigOptions &options, Command &command);

} // namespace tarnwick::program
