#pragma once

#include "exit_status.h"
#include "print/masks.h"
#include "requests/find_request.h"

#include <string>
#include <vector>

namespace tarnwick::program {

struct ReportOptions {
    std::vector<std::string> files{"-"}; ///< `-` is standard input
    std::string output = "-";            ///< a file to create; `-` is standard output
    MaskOptions mask;
    RequestFilter filter;
};

/// Writes one page in HTML with the requests of captures. Writes none if a capture has a fault and no request is chosen.
/// Throws `WriteError` and `BrokenPipe`.
ExitStatus report(ReportOptions const &options);

} // namespace tarnwick::program
