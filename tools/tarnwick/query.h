#pragma once

#include "exit_status.h"
#include "print/masks.h"
#include "requests/find_request.h"
#include "requests/table_options.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick::program {

struct QueryOptions {
    std::string sql;
    bool tables = false;                 ///< print the tables instead
    std::vector<std::string> files{"-"}; ///< `-` is standard input
    TableFormat format = TableFormat::automatic;
    MaskOptions mask;
    RequestFilter filter;
    std::optional<std::chrono::nanoseconds> timeout; ///< of the query, without the reading of captures
    std::optional<std::uint64_t> max_rows;
};

/// Prints the result of a query on the requests of captures. Throws `WriteError`, `BrokenPipe`, and `std::runtime_error`
/// if the temporary database cannot be written.
ExitStatus query(QueryOptions const &options);

} // namespace tarnwick::program
