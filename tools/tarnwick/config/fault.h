#pragma once

#include "config/line_tracker.h"

#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program {

/// Reason why a configuration file could not be loaded.
struct ConfigFault {
    std::string what;               ///< text of the exception, unchanged
    ConfigPlace place;              ///< its line is 0 if no line was read
    std::string text;               ///< `what` without the file and the includes that led there
    std::vector<std::string> notes; ///< explanations that `what` lacks
    bool names_place = true;        ///< whether `what` has the place; it can end at a NUL in a name
};

/// Returns the fault of loading `file`, from the text of the exception and the tracker that observed the reader.
ConfigFault make_fault(std::string const &file, std::string what, LineTracker const &tracker);

} // namespace tarnwick::program
