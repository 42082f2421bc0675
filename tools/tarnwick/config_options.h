#pragma once

#include "print/terminal.h"

#include <string>
#include <utility>
#include <vector>

namespace tarnwick::program {

/// The options of the commands of `tarnwick config`.
struct ConfigOptions {
    enum class Format { text, json };

    std::string file;
    std::string key; ///< of `get` and `explain`
    std::string name;
    Format format = Format::text;
    Color color = Color::automatic;
    bool strict = false;                                          ///< of `check`: a warning is a fault
    bool all = false;                                             ///< of `get`: all values, not only the most recent
    std::vector<std::pair<std::string, std::string>> environment; ///< overrides the caller's environment
};

} // namespace tarnwick::program
