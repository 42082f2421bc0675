#pragma once

#include "print/masks.h"
#include "print/terminal.h"

#include <string>
#include <utility>
#include <vector>

namespace tarnwick::program {

/// Options of the commands of `tarnwick config`.
struct ConfigOptions {
    enum class Format { text, json };

    std::string file;
    std::string key;  ///< of `get` and `explain`
    std::string name; ///< of the prefix; empty for no prefix
    Format format = Format::text;
    Color color = Color::automatic;
    MaskOptions mask;                                             ///< of `dump`
    bool strict = false;                                          ///< of `check`: a warning sets the exit status
    bool all = false;                                             ///< of `get`: all values, not only the most recent
    std::vector<std::pair<std::string, std::string>> environment; ///< overrides variables of the caller
};

} // namespace tarnwick::program
