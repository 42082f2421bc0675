#pragma once

#include "exit_status.h"
#include "terminal.h"

#include <string>
#include <utility>
#include <vector>

namespace tarnwick::program {

struct ConfigOptions {
    enum class Format { text, json };

    std::string file;
    std::string key; ///< of `get` and `explain`
    std::string name;
    Format format = Format::text;
    Color color = Color::automatic;
    bool strict = false;                                          ///< of `check`: warnings are a fault
    bool all = false;                                             ///< of `get`: not the most recent value alone
    std::vector<std::pair<std::string, std::string>> environment; ///< laid over the caller's
};

/// The commands of `tarnwick config`. Each reads a configuration file by the library's reader and prints to standard
/// output; a file that cannot be loaded is told on standard error. They give the exit status and throw `WriteError`.
ExitStatus config_check(ConfigOptions const &options);
ExitStatus config_dump(ConfigOptions const &options);
ExitStatus config_get(ConfigOptions const &options);
ExitStatus config_explain(ConfigOptions const &options);

} // namespace tarnwick::program
