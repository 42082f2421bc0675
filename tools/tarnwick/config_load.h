#pragma once

#include "config/fault.h"
#include "config/line_tracker.h"
#include "config_options.h"
#include "exit_status.h"
#include "print/output.h"

#include <tarnwick/pconfigfile.h>

#include <QtCore/QString>

#include <optional>
#include <string>
#include <string_view>

namespace tarnwick::program {

struct LoadedConfig {
    std::optional<PelorinPHPX::ConfigFile> config;
    ConfigFault fault; ///< why `config` is absent
};

/// Loads the file, observed by the tracker.
LoadedConfig load_config(ConfigOptions const &options, LineTracker &tracker);

/// Prints an error to standard error, after everything that was written to `output`. Returns the status of a fault of the
/// input.
ExitStatus refuse(Output &output, std::string_view text);
ExitStatus refuse(Output &output, ConfigFault const &fault);
/// The same for a key that has no value, with the key that was probably meant.
ExitStatus refuse_key(Output &output, ConfigOptions const &options, PelorinPHPX::ConfigFile const &config,
                      QString const &key);

/// Flushes the output and returns the status of success.
ExitStatus finish(Output &output);

} // namespace tarnwick::program
