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

/// A loaded configuration file, or the fault that prevents loading it.
struct LoadedConfig {
    std::optional<PelorinPHPX::ConfigFile> config;
    ConfigFault fault; ///< only if `config` is absent
};

/// Loads the file of the options. The tracker observes the reader.
LoadedConfig load_config(ConfigOptions const &options, LineTracker &tracker);

/// Flushes `output`, then prints an error to standard error. Returns the status of a fault of the input.
ExitStatus report_failure(Output &output, std::string_view text);
ExitStatus report_failure(Output &output, ConfigFault const &fault);
/// Reports a key without a value, and suggests a similar key.
ExitStatus report_missing_key(Output &output, ConfigOptions const &options, PelorinPHPX::ConfigFile const &config,
                              QString const &key);

/// Flushes `output`. Returns the status of success.
ExitStatus report_success(Output &output);

} // namespace tarnwick::program
