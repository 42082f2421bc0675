#pragma once

#include "config_options.h"
#include "exit_status.h"

namespace tarnwick::program {

/// Loads a configuration file and prints the files, warnings and fault. Throws `WriteError`.
ExitStatus config_check(ConfigOptions const &options);

} // namespace tarnwick::program
