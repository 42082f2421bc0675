#pragma once

#include "config_options.h"
#include "exit_status.h"

namespace tarnwick::program {

/// Prints the most recent value of a key, or all its values. Throws `WriteError`.
ExitStatus config_get(ConfigOptions const &options);

} // namespace tarnwick::program
