#pragma once

#include "requests/request_name.h"

#include <optional>
#include <string>

namespace tarnwick::program {

/// A capture or one of its requests, as the command line names them: `FILE` or `FILE:REQUEST`.
struct RequestPlace {
    std::string file;
    std::optional<RequestName> request;

    /// Reads a place. A text is only a file if a file has this name, or if no request follows its last colon.
    static RequestPlace read(std::string const &text);
};

} // namespace tarnwick::program
