#pragma once

#include "config/line_tracker.h"

#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program {

/// Why a configuration file could not be loaded.
struct ConfigFault {
    std::string what;               ///< of the exception, unchanged
    ConfigPlace place;              ///< line 0 where no line was read
    std::string text;               ///< of the fault alone, without the file and the includes that led there
    std::vector<std::string> notes; ///< on the fault, of what the exception does not know
    bool names_place = true;        ///< `what` does; it can end at a NUL in a name
};

/// The fault of a load of `file` that the trail observed.
ConfigFault fault_of(std::string const &file, std::string what, LineTracker const &tracker);

} // namespace tarnwick::program
