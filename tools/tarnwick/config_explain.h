#pragma once

#include "config_options.h"
#include "exit_status.h"

namespace tarnwick::program {

/// Prints where each value of a key comes from, and the lines that were dropped. Throws `WriteError`.
ExitStatus config_explain(ConfigOptions const &options);

} // namespace tarnwick::program
