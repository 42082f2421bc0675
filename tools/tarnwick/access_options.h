#pragma once

#include "command_options.h"
#include "keys.h"
#include "live/access.h"

namespace tarnwick::program {

/// Adds the options --curve-keys, --allow and --server-key. Check them with `check_access` in `read_argument`.
void add_access_options(CLI::App &app, AccessOptions &options);

/// Adds the command `keys`. Parsing sets `options` and `command`.
void add_keys(CLI::App &app, KeysOptions &options, Command &command);

} // namespace tarnwick::program
