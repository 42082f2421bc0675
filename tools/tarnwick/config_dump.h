#pragma once

#include "config_options.h"
#include "exit_status.h"

namespace tarnwick::program {

/// Prints all keys and values of a configuration file, as a configuration file or as JSON. Throws `WriteError`.
ExitStatus config_dump(ConfigOptions const &options);

} // namespace tarnwick::program
