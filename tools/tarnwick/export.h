#pragma once

#include "exit_status.h"
#include "print/masks.h"
#include "requests/find_request.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tarnwick::program {

struct ExportOptions {
    enum class Target : std::uint8_t { sqlite };

    std::vector<std::string> files{"-"}; ///< `-` is standard input
    Target target = Target::sqlite;
    std::string output; ///< the database
    MaskOptions mask;
    RequestFilter filter;
};

/// Adds the requests of captures to a database. Throws `std::runtime_error` if it cannot be written.
ExitStatus export_requests(ExportOptions const &options);

} // namespace tarnwick::program
