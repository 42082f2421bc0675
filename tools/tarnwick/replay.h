#pragma once

#include "exit_status.h"
#include "live/access.h"
#include "live/endpoint.h"
#include "live/schedule.h"
#include "requests/find_request.h"

#include <optional>
#include <string>
#include <vector>

namespace tarnwick::program {

struct ReplayOptions {
    std::vector<std::string> files{"-"}; ///< `-` is standard input
    std::optional<Endpoint> endpoint;    ///< REQUIRED
    AccessOptions access;
    Pace pace;
    bool loop = false; ///< sends the captures again and again, until Ctrl-C
    RequestFilter filter;
};

/// Sends the frames of captures to the program that listens at an address, and reports faults with their places to
/// standard error. Throws `WriteError`.
ExitStatus replay(ReplayOptions const &options);

} // namespace tarnwick::program
